#ifndef DEVSERVER_HTTPSERVER_H
#define DEVSERVER_HTTPSERVER_H

#include <Poco/Net/HTTPServer.h>
#include <Poco/Net/ServerSocket.h>
#include <Poco/ThreadPool.h>

#include <string>

#include "Platform.h"

namespace devserver {

/// A socket that has its address and doesn't listen yet: connections to it are refused.
/// Throws Poco::Exception when the address can't be used.
/// @param port 0: any free one
Poco::Net::ServerSocket boundSocket(const std::string& host, unsigned short port);

/// Lets clients connect, whether or not anybody then accepts them.
void listenOn(Poco::Net::ServerSocket& socket);

/// The platform's face to one socket. Serves from construction to destruction.
class HttpServer {
public:
    /// Throws Poco::Exception. Borrows the platform.
    /// @param socket listens
    HttpServer(Platform& platform, const Poco::Net::ServerSocket& socket, int threads);
    /// Lets requests under way end; the platform's delays should have been stopped before.
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

private:
    Poco::ThreadPool m_pool;
    Poco::Net::HTTPServer m_server;
};

}  // namespace devserver

#endif
