#ifndef VLOXLIB_DNSCACHE_DNSMANAGER_H
#define VLOXLIB_DNSCACHE_DNSMANAGER_H

#include <Poco/Mutex.h>

#include <vloxlib/dnscache/IDns.h>

namespace vloxlib {

class IDnsProvider;
template <class Answer>
class SharedAnswers;

/// @brief Walks the providers; the first activated one that gives a pack wins.
///
/// Threads: from any thread. Those who ask for the same domain at the same time share one walk; walks for
/// different domains don't wait for each other.
class VLOX_API DnsManager : public IDns {
public:
    DnsManager();

    std::shared_ptr<HttpDnsPack> requestDns(std::string domain) override;
    std::list<std::string> getDebugInfo() override;
    void clearDebugInfo() override;

private:
    std::shared_ptr<HttpDnsPack> walk(const std::string& domain);

    std::list<std::shared_ptr<IDnsProvider>> m_providers;  // in the order of the walk
    std::list<std::string> m_debugInfo;                    // guarded by m_mutex
    Poco::FastMutex m_mutex;
    const std::shared_ptr<SharedAnswers<std::shared_ptr<HttpDnsPack>>> m_walks;
};

}  // namespace vloxlib

#endif
