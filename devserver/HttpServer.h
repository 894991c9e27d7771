#ifndef DEVSERVER_HTTPSERVER_H
#define DEVSERVER_HTTPSERVER_H

#include <Poco/Net/HTTPServerParams.h>
#include <Poco/Net/ServerSocket.h>
#include <Poco/Net/TCPServer.h>
#include <Poco/ThreadPool.h>

#include <string>

#include "OpenConnections.h"
#include "Platform.h"

namespace devserver {

/// A socket that has its address and doesn't listen yet: connections to it are refused.
/// Throws Poco::Exception when the address can't be used.
/// @param port 0: any free one
Poco::Net::ServerSocket boundSocket(const std::string& host, unsigned short port);

enum class ClientCertificate { NotAsked, Needed };

/// The same, on any free port, for TLS.
/// @param certificateFile the server's certificate and key
/// @param authorityFile   who signs the certificates of clients
Poco::Net::ServerSocket boundTlsSocket(const std::string& host, const std::string& certificateFile,
                                       const std::string& authorityFile, ClientCertificate client);

/// Lets clients connect, whether or not anybody then accepts them.
void listenOn(Poco::Net::ServerSocket& socket);

/// The platform's face to one socket. Serves from construction to stop().
class HttpServer {
public:
    /// Throws Poco::Exception. Borrows the platform.
    /// @param socket listens
    /// @param ports  where the platform answers, for requests that ask for that
    HttpServer(Platform& platform, const Poco::Net::ServerSocket& socket, int threads, Ports ports);
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    /// Cuts all connections; the platform's delays should have been stopped before.
    void stop();

private:
    Poco::ThreadPool m_pool;
    const Poco::Net::HTTPServerParams::Ptr m_params;
    OpenConnections m_connections;
    Poco::Net::TCPServer m_server;
};

}  // namespace devserver

#endif
