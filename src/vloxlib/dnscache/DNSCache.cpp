#include "vloxlib/dnscache/DNSCache.h"

#include <Poco/ActiveMethod.h>
#include <Poco/Exception.h>

#include <algorithm>
#include <system_error>

#include "platform/InetAddress.h"
#include "platform/Thread.h"
#include "vloxlib/dnscache/DNSCacheLog.h"
#include "vloxlib/dnscache/DnsCacheManager.h"
#include "vloxlib/dnscache/DnsManager.h"
#include "vloxlib/dnscache/DomainModel.h"
#include "vloxlib/dnscache/HttpDnsPack.h"
#include "vloxlib/dnscache/IpModel.h"
#include "vloxlib/dnscache/QueryManager.h"
#include "vloxlib/dnscache/ScoreManager.h"
#include "vloxlib/dnscache/SharedAnswers.h"
#include "vloxlib/dnscache/SpeedtestManager.h"

namespace vloxlib {

namespace {

constexpr auto kBetweenLooks = std::chrono::milliseconds(20);

// The system's resolver can't be interrupted: it gets a thread of its own, which those who wait can leave.
void runAside(const std::function<void()>& task) {
    try {
        const platform::Thread started(task);
    } catch (const std::system_error&) {
        task();
    }
}

std::vector<std::string> answerOf(const std::shared_future<std::vector<std::string>>& answer,
                                  const ResolvePatience& patience) {
    while (answer.wait_for(kBetweenLooks) != std::future_status::ready) {
        if (patience.isOver()) {
            return {};
        }
    }
    return answer.get();
}

void remove(std::vector<std::string>& ips, const std::string& ip) {
    ips.erase(std::remove(ips.begin(), ips.end(), ip), ips.end());
}

}  // namespace

std::shared_ptr<DNSCache> DNSCache::getInstance() {
    static const auto& instance = *new std::shared_ptr<DNSCache>(new DNSCache);
    return instance;
}

DNSCache::DNSCache()
    : m_cacheManager(std::make_shared<DnsCacheManager>()),
      m_dnsManager(std::make_shared<DnsManager>()),
      m_queryManager(std::make_shared<QueryManager>(m_cacheManager, m_dnsManager)),
      m_scoreManager(std::make_shared<ScoreManager>()),
      m_speedtestManager(std::make_shared<SpeedtestManager>()),
      m_resolves(std::make_shared<SharedAnswers<std::vector<std::string>>>()) {}

int DNSCache::init(const std::string& directory) {
    m_cacheManager->init(directory);
    return 0;
}

std::string DNSCache::getIpByDomain(const std::string& domain) {
    const std::vector<std::string> ips = getIpsByDomain(domain, {});
    return ips.empty() ? "" : ips.front();
}

std::vector<std::string> DNSCache::getIpsByDomain(const std::string& domain,
                                                  const ResolvePatience& patience) {
    std::vector<std::string> ips;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto chosen = m_ipMap.find(domain);
        if (chosen != m_ipMap.end()) {
            ips = chosen->second;
        }
    }
    if (ips.empty() && (domain.empty() || platform::isInetAddress(domain))) {
        return {domain};
    }
    if (ips.empty()) {
        ips = answerOf(m_resolves->of(
                           domain, [this, domain] { return resolve(domain); }, runAside),
                       patience);
    }
    if (!m_allAddresses && ips.size() > 1) {
        ips.resize(1);
    }
    return ips;
}

std::vector<std::string> DNSCache::resolve(const std::string& domain) {
    const auto model = m_queryManager->queryDomain("", domain);
    auto ips = model ? inOrderOfChoice(*model) : std::vector<std::string>();
    if (!ips.empty() && !ips.front().empty()) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_ipMap[domain] = ips;
    }
    return ips;
}

std::vector<std::string> DNSCache::inOrderOfChoice(const DomainModel& model) const {
    auto usable = model.getUsableIps();
    const bool judged = m_allAddresses;
    usable.sort([judged](const auto& a, const auto& b) {
        return judged && a->hasFailedLast() != b->hasFailedLast() ? b->hasFailedLast() : compareIpModel(b, a);
    });
    std::vector<std::string> ips;
    for (const auto& each : usable) {
        ips.push_back(each->ip);
    }
    return ips;
}

void DNSCache::notifySuccessIpByDomain(const std::string& domain, const std::string& ip) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto chosen = m_ipMap.find(domain);
        if (chosen != m_ipMap.end()) {
            remove(chosen->second, ip);
            chosen->second.insert(chosen->second.begin(), ip);
        }
    }
    m_cacheManager->setDomainSuccess(domain, ip);
}

void DNSCache::notifyFailureIpByDomain(const std::string& domain, const std::string& ip, int code) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_ipMap.erase(domain);
    }
    m_cacheManager->setDomainFailure(domain, ip, code);
}

void DNSCache::notifyFailureOfAddress(const std::string& domain, const std::string& ip, int code) {
    bool hasOthers = false;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto chosen = m_ipMap.find(domain);
        if (chosen != m_ipMap.end()) {
            remove(chosen->second, ip);
            hasOthers = !chosen->second.empty();
        }
    }
    if (hasOthers) {
        m_cacheManager->setAddressFailure(domain, ip);
    } else {
        notifyFailureIpByDomain(domain, ip, code);
    }
}

void DNSCache::preLoadDomains(const std::list<std::string>& domains) {
    for (const std::string& domain : domains) {
        checkUpdates(domain);
    }
}

void DNSCache::checkUpdates(const std::string& domain) {
    if (domain.empty() || platform::isInetAddress(domain)) {
        return;
    }
    Poco::ActiveMethod<std::shared_ptr<DomainModel>, std::string, DNSCache> resolve(
        this, &DNSCache::getHttpDnsData);
    try {
        resolve(domain);  // the pool holds the call until it is done
    } catch (const Poco::Exception& failure) {
        DNSCacheLog::getInstance()->log(DNSCACHE_TRACE_WARNING, "DNSCache", "%s isn't preloaded: %s",
                                        domain.c_str(), failure.displayText().c_str());
    }
}

std::shared_ptr<DomainModel> DNSCache::getHttpDnsData(const std::string& domain) {
    const auto pack = m_dnsManager->requestDns(domain);
    if (!pack || pack->dns.empty()) {
        return nullptr;
    }
    auto model = pack->toDomainModel();
    m_cacheManager->replaceDnsCache(model);
    return model;
}

bool DNSCache::compareIpModel(const std::shared_ptr<IpModel>& a, const std::shared_ptr<IpModel>& b) {
    return a->grade < b->grade;
}

}  // namespace vloxlib
