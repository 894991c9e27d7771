#include "Servers.h"

#include <future>

namespace devserver {
namespace {

namespace net = Poco::Net;

struct TlsServer {
    const char* name;
    const char* certificate;
    ClientCertificate client;
};

const TlsServer kTlsServers[] = {
    {"good", "server.pem", ClientCertificate::NotAsked},
    {"wrongHost", "server-wrong-host.pem", ClientCertificate::NotAsked},
    {"expired", "server-expired.pem", ClientCertificate::NotAsked},
    {"notYetValid", "server-not-yet-valid.pem", ClientCertificate::NotAsked},
    {"unknownAuthority", "server-unknown-authority.pem", ClientCertificate::NotAsked},
    {"clientCertificate", "server.pem", ClientCertificate::Needed},
};

}  // namespace

// The first address keeps its socket also where nobody answers, so that no other process gets its port.
Servers::Servers(Platform& platform, const Options& options, const std::optional<TestAuthority>& authority)
    : m_primary(boundSocket(options.host, options.port)) {
    const auto serve = [&](net::ServerSocket socket, unsigned short tlsPort) {
        listenOn(socket);
        m_servers.emplace_back(platform, socket, options.threads, Ports{port(), tlsPort});
    };
    if (authority) {
        for (const TlsServer& server : kTlsServers) {
            const net::ServerSocket socket = boundTlsSocket(options.host, authority->file(server.certificate),
                                                            authority->authorityFile(), server.client);
            m_tlsPorts.push_back({server.name, socket.address().port()});
            serve(socket, m_tlsPorts.back().port);  // who comes there is to stay there
        }
    }
    const unsigned short tlsPort = authority ? m_tlsPorts.front().port : port();
    if (options.primary == Primary::Answers) {
        serve(m_primary, tlsPort);
    } else if (options.primary == Primary::Silent) {
        listenOn(m_primary);
    }
    if (!options.alsoHost.empty()) {
        serve(boundSocket(options.alsoHost, port()), tlsPort);
    }
}

// Each server takes a while to see that it shall end.
Servers::~Servers() {
    std::vector<std::future<void>> stops;
    for (HttpServer& server : m_servers) {
        stops.push_back(std::async(std::launch::async, [&server] { server.stop(); }));
    }
}

}  // namespace devserver
