#include "vloxlib/dnscache/QueryManager.h"

#include <utility>

#include "vloxlib/dnscache/DomainModel.h"
#include "vloxlib/dnscache/HttpDnsPack.h"
#include "vloxlib/dnscache/IDns.h"
#include "vloxlib/dnscache/IDnsCache.h"

namespace vloxlib {

QueryManager::QueryManager(std::shared_ptr<IDnsCache> cache, std::shared_ptr<IDns> dns)
    : m_cache(std::move(cache)), m_dns(std::move(dns)) {}

std::shared_ptr<DomainModel> QueryManager::queryDomain(std::string sp, std::string domain) {
    if (auto cached = m_cache->getDnsCache(sp, domain, true); cached && !cached->isExpired()) {
        return cached;
    }
    const auto pack = m_dns->requestDns(std::move(domain));
    if (!pack || pack->dns.empty()) {
        return nullptr;
    }
    auto fresh = pack->toDomainModel();
    m_cache->replaceDnsCache(fresh);
    return fresh;
}

std::shared_ptr<DomainModel> QueryManager::getCachedDomain(std::string sp, std::string domain) {
    return m_cache->getDnsCache(sp, domain, true);
}

}  // namespace vloxlib
