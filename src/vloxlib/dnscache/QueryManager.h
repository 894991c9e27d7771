#ifndef VLOXLIB_DNSCACHE_QUERYMANAGER_H
#define VLOXLIB_DNSCACHE_QUERYMANAGER_H

#include <vloxlib/dnscache/IQuery.h>

namespace vloxlib {

class IDns;
class IDnsCache;

/// @brief Answers from the cache while it has a usable address, however old, and else asks the providers.
///
/// A fresh answer is stored. When the asking fails the answer is empty: what can't be used isn't served.
/// Threads: from any thread; two that miss at once both ask.
class VLOX_API QueryManager : public IQuery {
public:
    QueryManager(std::shared_ptr<IDnsCache> cache, std::shared_ptr<IDns> dns);

    std::shared_ptr<DomainModel> queryDomain(std::string sp, std::string domain) override;
    std::shared_ptr<DomainModel> getCachedDomain(std::string sp, std::string domain) override;

private:
    std::shared_ptr<IDnsCache> m_cache;
    std::shared_ptr<IDns> m_dns;
};

}  // namespace vloxlib

#endif
