#ifndef VLOXLIB_DNSCACHE_DNSCACHE_H
#define VLOXLIB_DNSCACHE_DNSCACHE_H

#include <vloxlib/Noncopyable.h>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace vloxlib {

class DomainModel;
class IDns;
class IDnsCache;
class IpModel;
class IQuery;
class IScore;
class ISpeedtest;

/// @brief Name resolution: which one address a request uses, from a memory that outlives the process.
///
/// The address chosen for a domain sticks until it is reported as failed.
/// Life: one for the process, never destroyed, since background resolves may run on while the process ends.
/// Threads: all operations from any thread. A slow resolve doesn't hold up domains that have their address.
/// Errors: logged through DNSCacheLog; an empty text or nothing is what the caller sees.
class VLOX_API DNSCache : public Noncopyable {
public:
    static std::shared_ptr<DNSCache> getInstance();

    /// Opens the memory, the file "vloxDomain.db" in the directory. @return 0, also when it can't be opened
    int init(const std::string& directory);
    /// Does nothing. @return 0
    int destroy() { return 0; }

    /// The address for a domain: the one it has, else from the memory, else from the system's resolver, which
    /// blocks.
    /// @return an address given as `domain` unchanged; empty when none is known
    std::string getIpByDomain(const std::string& domain);
    /// Counts a success of the address, and moves a domain that has an address over to this one.
    void notifySuccessIpByDomain(const std::string& domain, const std::string& ip);
    /// Forgets all addresses of the domain, so that the next question asks the system's resolver.
    void notifyFailureIpByDomain(const std::string& domain, const std::string& ip, int code);
    /// Resolves domains in the background, on POCO's default pool, into the memory; returns at once. A domain
    /// for which the pool has no thread left is passed over with a warning in the log.
    void preLoadDomains(const std::list<std::string>& domains);

private:
    DNSCache();

    std::shared_ptr<DomainModel> getHttpDnsData(const std::string& domain);
    void checkUpdates(const std::string& domain);
    static bool compareIpModel(const std::shared_ptr<IpModel>& a, const std::shared_ptr<IpModel>& b);

    std::mutex m_mutex;  // guards m_ipMap only
    const std::shared_ptr<IDnsCache> m_cacheManager;
    const std::shared_ptr<IDns> m_dnsManager;
    const std::shared_ptr<IQuery> m_queryManager;
    const std::shared_ptr<IScore> m_scoreManager;          // not asked by any resolve
    const std::shared_ptr<ISpeedtest> m_speedtestManager;  // not asked by any resolve
    std::map<std::string, std::string> m_ipMap;            // the address that a domain has
};

}  // namespace vloxlib

#endif
