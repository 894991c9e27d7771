#ifndef VLOXLIB_DNSCACHE_DNSCACHE_H
#define VLOXLIB_DNSCACHE_DNSCACHE_H

#include <vloxlib/Noncopyable.h>
#include <atomic>
#include <chrono>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace vloxlib {

class DomainModel;
class IDns;
class IDnsCache;
class IpModel;
class IQuery;
class IScore;
class ISpeedtest;
template <class Answer>
class SharedAnswers;

/// How long somebody waits for the answer of a resolver.
struct ResolvePatience {
    std::chrono::steady_clock::time_point until = std::chrono::steady_clock::time_point::max();
    /// Asked a few dozen times a second, on the waiting thread; may be empty. @return true: waits no longer
    std::function<bool()> givenUp;

    bool isOver() const { return std::chrono::steady_clock::now() >= until || (givenUp && givenUp()); }
};

/// @brief Name resolution: which one address a request uses, from a memory that outlives the process.
///
/// The address chosen for a domain sticks until it is reported as failed.
/// Life: one for the process, never destroyed, since background resolves may run on while the process ends.
/// Threads: all operations from any thread. A slow resolve holds up nobody but those who ask for its domain;
/// they share it. It runs on a thread of its own, and its answer is remembered also when nobody waits any
/// more. Errors: logged through DNSCacheLog; an empty text or nothing is what the caller sees.
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
    /// The addresses to be tried for a domain, in their order: the one that getIpByDomain() gives, and behind
    /// it the others that may be used when useAllAddresses() has been switched on.
    /// @return empty when none is known, or none has come until the patience was over
    std::vector<std::string> getIpsByDomain(const std::string& domain, const ResolvePatience& patience);
    /// Switches for the process whether exchanges try all usable addresses of a domain, the best first, and
    /// hold a failure against the one that failed. Off from the start: one address is tried, and its failure
    /// makes the domain forgotten.
    void useAllAddresses(bool all) { m_allAddresses = all; }
    bool usesAllAddresses() const { return m_allAddresses; }
    /// Counts a success of the address, and moves a domain that has an address over to this one.
    void notifySuccessIpByDomain(const std::string& domain, const std::string& ip);
    /// Forgets all addresses of the domain, so that the next question asks the system's resolver.
    void notifyFailureIpByDomain(const std::string& domain, const std::string& ip, int code);
    /// Counts a failure of this one address, which isn't tried any more as long as the domain has others that
    /// haven't failed. With the last of them the domain is forgotten.
    void notifyFailureOfAddress(const std::string& domain, const std::string& ip, int code);
    /// Resolves domains in the background, on POCO's default pool, into the memory; returns at once. A domain
    /// for which the pool has no thread left is passed over with a warning in the log.
    void preLoadDomains(const std::list<std::string>& domains);

private:
    DNSCache();

    std::vector<std::string> resolve(const std::string& domain);
    std::vector<std::string> inOrderOfChoice(const DomainModel& model) const;
    std::shared_ptr<DomainModel> getHttpDnsData(const std::string& domain);
    void checkUpdates(const std::string& domain);
    static bool compareIpModel(const std::shared_ptr<IpModel>& a, const std::shared_ptr<IpModel>& b);

    std::mutex m_mutex;  // guards m_ipMap only
    const std::shared_ptr<IDnsCache> m_cacheManager;
    const std::shared_ptr<IDns> m_dnsManager;
    const std::shared_ptr<IQuery> m_queryManager;
    const std::shared_ptr<IScore> m_scoreManager;          // not asked by any resolve
    const std::shared_ptr<ISpeedtest> m_speedtestManager;  // not asked by any resolve
    const std::shared_ptr<SharedAnswers<std::vector<std::string>>> m_resolves;
    std::atomic<bool> m_allAddresses{false};
    // The address that a domain has, and behind it those that may stand in for it.
    std::map<std::string, std::vector<std::string>> m_ipMap;
};

}  // namespace vloxlib

#endif
