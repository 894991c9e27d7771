#include <dlfcn.h>
#include <gtest/gtest.h>
#include <netdb.h>

#include <atomic>
#include <cstring>
#include <future>
#include <memory>

#include "support/ResolverFixture.h"
#include "vloxlib/dnscache/DNSCache.h"
#include "vloxlib/http/HttpClient.h"

namespace {

// Nobody knows the name when it is asked for once; who asks again hears nothing until he is let go.
constexpr char kSlow[] = "slow.invalid";
std::atomic<int> asked{0};
std::promise<void> letGo;

}  // namespace

// The system's resolver, as all libraries of the process see it.
extern "C" __attribute__((visibility("default"))) int getaddrinfo(const char* node, const char* service,
                                                                  const addrinfo* hints, addrinfo** result) {
    if (node && std::strcmp(node, kSlow) == 0) {
        if (++asked > 1) {
            letGo.get_future().wait();
        }
        return EAI_NONAME;
    }
    static const auto real = reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"));
    return real(node, service, hints, result);
}

TEST(SlowResolver, ALookUpOfLibcurlsOwnEndsWithTheExchangeToo) {
    const vlox_test::CacheFile file;
    vloxlib::DNSCache::getInstance()->init(file.directory());
    vloxlib::HttpClient client;
    client.createGetRequest(std::string("http://") + kSlow + "/");
    const auto limits = std::make_shared<vloxlib::QosParams>();
    limits->timeout = 1;
    EXPECT_EQ(-828, client.performSync(limits, nullptr));
    EXPECT_EQ(2, asked);
    letGo.set_value();
}
