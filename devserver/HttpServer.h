#ifndef DEVSERVER_HTTPSERVER_H
#define DEVSERVER_HTTPSERVER_H

#include <Poco/Net/HTTPServer.h>
#include <Poco/ThreadPool.h>

#include <string>

#include "Platform.h"

namespace devserver {

/// The socket in front of the platform. Serves from construction to destruction.
class HttpServer {
public:
    /// Throws Poco::Exception when the address can't be used. Borrows the platform.
    HttpServer(Platform& platform, const std::string& host, unsigned short port, int threads);
    /// Lets requests under way end; the platform's delays should have been stopped before.
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    unsigned short port() const { return m_server.port(); }

private:
    Poco::ThreadPool m_pool;
    Poco::Net::HTTPServer m_server;
};

}  // namespace devserver

#endif
