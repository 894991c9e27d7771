#include <memory>
#include <random>

#include "crash/Work.h"
#include "vloxlib/dnscache/DnsCacheManager.h"
#include "vloxlib/dnscache/DomainModel.h"
#include "vloxlib/dnscache/IpModel.h"

using namespace vloxlib;

namespace vlox_test {

namespace {

constexpr int kDomains = 8;
constexpr int kAddresses = 12;
constexpr int kMostAddresses = 8;  // of one answer

class Resolver {
public:
    explicit Resolver(IDnsCache& cache) : m_cache(cache), m_random(std::random_device{}()) {}

    // What this life begins with.
    void tellWhatIsKnown() {
        for (int number = 0; number < kDomains; ++number) {
            const std::string domain = domainOf(number);
            std::string addresses;
            if (const auto model = m_cache.getDnsCache("", domain, true)) {
                for (const auto& ip : model->ipModels) {
                    addresses += " " + ip->ip;
                }
            }
            tell("ok know " + domain + addresses);
        }
    }

    [[noreturn]] void run() {
        for (;;) {
            const std::string domain = domainOf(m_random());
            const std::string address = addressOf(m_random());
            switch (m_random() % 12) {
                case 0:
                    acknowledge("clear", [&] { return m_cache.clear(); });
                    break;
                case 1:
                case 2:
                case 3:
                    acknowledge("forget " + domain, [&] {
                        m_cache.setDomainFailure(domain, address, 7);
                        return 0;
                    });
                    break;
                case 4:
                case 5:
                case 6:
                    acknowledge("succeed " + domain + " " + address, [&] {
                        m_cache.setDomainSuccess(domain, address);
                        return 0;
                    });
                    break;
                default:
                    learn(domain);
            }
        }
    }

private:
    static std::string domainOf(std::size_t number) {
        return "service" + std::to_string(number % kDomains) + ".vlox.example";
    }
    static std::string addressOf(std::size_t number) {
        return "192.0.2." + std::to_string(number % kAddresses);
    }

    // An answer of the system's resolver, made at a time that tells it from all others.
    void learn(const std::string& domain) {
        const auto answer = std::make_shared<DomainModel>();
        answer->domain = domain;
        answer->finallyTime = m_random();
        std::string what = "learn " + domain + " " + std::to_string(answer->finallyTime);
        const std::size_t first = m_random();
        for (std::size_t count = 0; count <= first % kMostAddresses; ++count) {
            const auto ip = std::make_shared<IpModel>();
            ip->domain = domain;
            ip->ip = addressOf(first / kMostAddresses + count);
            what += " " + ip->ip;
            answer->ipModels.push_back(ip);
        }
        acknowledge(what, [&] { return m_cache.replaceDnsCache(answer) ? 0 : 1; });
    }

    IDnsCache& m_cache;
    std::mt19937 m_random;
};

}  // namespace

void workCache(const std::string& directory) {
    DnsCacheManager cache;
    if (!cache.init(directory)) {
        std::fputs("the cache doesn't open\n", stderr);
        std::exit(3);
    }
    Resolver resolver(cache);
    resolver.tellWhatIsKnown();
    resolver.run();
}

}  // namespace vlox_test
