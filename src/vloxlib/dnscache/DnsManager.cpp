#include "vloxlib/dnscache/DnsManager.h"

#include "vloxlib/dnscache/DNSCacheLog.h"
#include "vloxlib/dnscache/HttpDnsPack.h"
#include "vloxlib/dnscache/InactiveDnsProviders.h"
#include "vloxlib/dnscache/PocoLocalDns.h"
#include "vloxlib/dnscache/SharedAnswers.h"

namespace vloxlib {

DnsManager::DnsManager()
    : m_providers{std::make_shared<LocalDns>(),       std::make_shared<CaresDns>(),
                  std::make_shared<TencentHttpDns>(), std::make_shared<DNSPodHttpDns>(),
                  std::make_shared<AliyunHttpDns>(),  std::make_shared<PocoLocalDns>()},
      m_walks(std::make_shared<SharedAnswers<std::shared_ptr<HttpDnsPack>>>()) {
    m_providers.sort([](const auto& a, const auto& b) { return a->getPriority() > b->getPriority(); });
}

std::shared_ptr<HttpDnsPack> DnsManager::requestDns(std::string domain) {
    return m_walks
        ->of(
            domain, [this, domain] { return walk(domain); }, [](const auto& task) { task(); })
        .get();
}

std::shared_ptr<HttpDnsPack> DnsManager::walk(const std::string& domain) {
    for (const auto& provider : m_providers) {
        if (!provider->isActivated()) {
            continue;
        }
        if (auto pack = provider->requestDns(domain)) {
            DNSCacheLog::getInstance()->log(DNSCACHE_TRACE_INFORMATION, "DnsManager", "%s",
                                            pack->toJson().c_str());
            return pack;
        }
    }
    DNSCacheLog::getInstance()->log(DNSCACHE_TRACE_ERROR, "DnsManager", "requestDns return nullptr");
    return nullptr;
}

std::list<std::string> DnsManager::getDebugInfo() {
    const Poco::FastMutex::ScopedLock lock(m_mutex);
    return m_debugInfo;
}

void DnsManager::clearDebugInfo() {
    const Poco::FastMutex::ScopedLock lock(m_mutex);
    m_debugInfo.clear();
}

}  // namespace vloxlib
