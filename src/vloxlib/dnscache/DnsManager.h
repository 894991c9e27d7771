#ifndef VLOXLIB_DNSCACHE_DNSMANAGER_H
#define VLOXLIB_DNSCACHE_DNSMANAGER_H

#include <Poco/Mutex.h>

#include <vloxlib/dnscache/IDns.h>

namespace vloxlib {

class IDnsProvider;

/// @brief Walks the providers; the first activated one that gives a pack wins.
///
/// Threads: from any thread, but one walk at a time: a slow provider stalls all other resolves.
class VLOX_API DnsManager : public IDns {
public:
    DnsManager();

    std::shared_ptr<HttpDnsPack> requestDns(std::string domain) override;
    std::list<std::string> getDebugInfo() override;
    void clearDebugInfo() override;

private:
    std::list<std::shared_ptr<IDnsProvider>> m_providers;  // in the order of the walk
    std::list<std::string> m_debugInfo;                    // guarded by m_mutex
    Poco::FastMutex m_mutex;                               // held for a whole walk
};

}  // namespace vloxlib

#endif
