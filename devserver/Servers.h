#ifndef DEVSERVER_SERVERS_H
#define DEVSERVER_SERVERS_H

#include <Poco/Net/ServerSocket.h>

#include <list>
#include <optional>
#include <string>
#include <vector>

#include "HttpServer.h"
#include "Options.h"
#include "Platform.h"
#include "TestAuthority.h"

namespace devserver {

/// The platform at all its addresses, from construction to destruction.
class Servers {
public:
    struct TlsPort {
        std::string name;  ///< says what the client meets there
        unsigned short port;
    };

    /// Borrows the platform.
    /// @param authority where there is one, the server has a port for each of its servers' certificates
    /// Throws Poco::Exception.
    Servers(Platform& platform, const Options& options, const std::optional<TestAuthority>& authority);
    ~Servers();

    unsigned short port() const { return m_primary.address().port(); }
    /// Empty without an authority; the first one is good.
    const std::vector<TlsPort>& tlsPorts() const { return m_tlsPorts; }

private:
    Poco::Net::ServerSocket m_primary;
    std::vector<TlsPort> m_tlsPorts;
    std::list<HttpServer> m_servers;
};

}  // namespace devserver

#endif
