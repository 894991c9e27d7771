#ifndef VLOXLIB_DNSCACHE_IDNSCACHE_H
#define VLOXLIB_DNSCACHE_IDNSCACHE_H

#include <vloxlib/Noncopyable.h>
#include <memory>
#include <string>

namespace vloxlib {

class DomainModel;

/// The memory of resolved domains, which outlives the process.
///
/// Threads: all operations from any thread, one at a time.
/// Errors: logged where they happen, and reported as each operation tells; nothing is thrown.
class VLOX_API IDnsCache : public Noncopyable {
public:
    /// Opens the cache in a directory, to be called before anything else.
    /// @return false: the cache stays without a file; it then knows nothing and stores nothing
    virtual bool init(const std::string& directory) = 0;
    /// @param sp carrier key
    /// @param withIps whether to read the addresses too
    /// @return empty: the cache doesn't know the domain, or can't read
    virtual std::shared_ptr<DomainModel> getDnsCache(const std::string& sp, const std::string& domain,
                                                     bool withIps) = 0;
    /// Stores an answer. Addresses that are known already keep their statistics; older ones stay.
    virtual bool replaceDnsCache(std::shared_ptr<DomainModel> model) = 0;
    /// Forgets everything. @return 0, else SQLite's code of the first failure
    virtual int clear() = 0;
    /// Counts a success of an address of a domain.
    virtual void setDomainSuccess(const std::string& domain, const std::string& ip) = 0;
    /// Forgets a domain with all its addresses.
    virtual void deleteDomain(const std::string& domain) = 0;
    /// One failed address makes the whole domain forgotten. Neither `ip` nor `code` is looked at.
    virtual void setDomainFailure(const std::string& domain, const std::string& ip, int code) = 0;
    /// Counts a failure of an address of a domain, which keeps its addresses. A cache that doesn't tell
    /// addresses apart forgets the domain.
    virtual void setAddressFailure(const std::string& domain, const std::string& ip) {
        setDomainFailure(domain, ip, 0);
    }
};

}  // namespace vloxlib

#endif
