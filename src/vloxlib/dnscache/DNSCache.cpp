#include "vloxlib/dnscache/DNSCache.h"

#include <Poco/ActiveMethod.h>
#include <Poco/Exception.h>

#include <algorithm>

#include "platform/InetAddress.h"
#include "vloxlib/dnscache/DNSCacheLog.h"
#include "vloxlib/dnscache/DnsCacheManager.h"
#include "vloxlib/dnscache/DnsManager.h"
#include "vloxlib/dnscache/DomainModel.h"
#include "vloxlib/dnscache/HttpDnsPack.h"
#include "vloxlib/dnscache/IpModel.h"
#include "vloxlib/dnscache/QueryManager.h"
#include "vloxlib/dnscache/ScoreManager.h"
#include "vloxlib/dnscache/SpeedtestManager.h"

namespace vloxlib {

std::shared_ptr<DNSCache> DNSCache::getInstance() {
    static const auto& instance = *new std::shared_ptr<DNSCache>(new DNSCache);
    return instance;
}

DNSCache::DNSCache()
    : m_cacheManager(std::make_shared<DnsCacheManager>()),
      m_dnsManager(std::make_shared<DnsManager>()),
      m_queryManager(std::make_shared<QueryManager>(m_cacheManager, m_dnsManager)),
      m_scoreManager(std::make_shared<ScoreManager>()),
      m_speedtestManager(std::make_shared<SpeedtestManager>()) {}

int DNSCache::init(const std::string& directory) {
    m_cacheManager->init(directory);
    return 0;
}

std::string DNSCache::getIpByDomain(const std::string& domain) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto chosen = m_ipMap.find(domain);
        if (chosen != m_ipMap.end()) {
            return chosen->second;
        }
    }
    if (domain.empty() || platform::isInetAddress(domain)) {
        return domain;
    }
    const auto model = m_queryManager->queryDomain("", domain);
    if (!model) {
        return "";
    }
    const auto usable = model->getUsableIps();
    const auto best = std::max_element(usable.begin(), usable.end(), compareIpModel);
    if (best == usable.end()) {
        return "";
    }
    if (!(*best)->ip.empty()) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_ipMap[domain] = (*best)->ip;
    }
    return (*best)->ip;
}

void DNSCache::notifySuccessIpByDomain(const std::string& domain, const std::string& ip) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto chosen = m_ipMap.find(domain);
        if (chosen != m_ipMap.end()) {
            chosen->second = ip;
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

// The best address is the maximum; among equals the earliest, which std::max_element gives.
bool DNSCache::compareIpModel(const std::shared_ptr<IpModel>& a, const std::shared_ptr<IpModel>& b) {
    return a->grade < b->grade;
}

}  // namespace vloxlib
