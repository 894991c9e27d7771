#ifndef VLOXLIB_DNSCACHE_IQUERY_H
#define VLOXLIB_DNSCACHE_IQUERY_H

#include <vloxlib/Noncopyable.h>
#include <memory>
#include <string>

namespace vloxlib {

class DomainModel;

/// Decides whether a domain is answered from the cache or asked anew.
class VLOX_API IQuery : public Noncopyable {
public:
    /// @param sp carrier key
    /// @return the domain with its addresses; empty when nothing usable exists
    virtual std::shared_ptr<DomainModel> queryDomain(std::string sp, std::string domain) = 0;
    /// What the cache holds, without any asking; empty when it knows nothing.
    virtual std::shared_ptr<DomainModel> getCachedDomain(std::string sp, std::string domain) = 0;
};

}  // namespace vloxlib

#endif
