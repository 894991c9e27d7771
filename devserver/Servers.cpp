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

std::vector<net::ServerSocket> tlsSockets(const std::string& host, const TestAuthority& authority) {
    std::vector<net::ServerSocket> sockets;
    for (const TlsServer& server : kTlsServers) {
        sockets.push_back(boundTlsSocket(host, authority.file(server.certificate), authority.authorityFile(),
                                         server.client));
    }
    return sockets;
}

}  // namespace

// The first address keeps its socket also where nobody answers, so that no other process gets its port.
Servers::Servers(Platform& platform, const Options& options, const std::optional<TestAuthority>& authority)
    : m_primary(boundSocket(options.host, options.port)) {
    std::vector<net::ServerSocket> answering;
    if (authority) {
        answering = tlsSockets(options.host, *authority);
        for (std::size_t i = 0; i < answering.size(); ++i) {
            m_tlsPorts.push_back({kTlsServers[i].name, answering[i].address().port()});
        }
    }
    if (options.primary == Primary::Answers) {
        answering.push_back(m_primary);
    } else if (options.primary == Primary::Silent) {
        listenOn(m_primary);
    }
    if (!options.alsoHost.empty()) {
        answering.push_back(boundSocket(options.alsoHost, port()));
    }
    const Ports ports{port(), m_tlsPorts.empty() ? port() : m_tlsPorts.front().port};
    for (net::ServerSocket& socket : answering) {
        listenOn(socket);
        m_servers.emplace_back(platform, socket, options.threads, ports);
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
