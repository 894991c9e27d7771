#include "HttpServer.h"

#include <Poco/Exception.h>
#include <Poco/Net/Context.h>
#include <Poco/Net/HTTPRequestHandler.h>
#include <Poco/Net/HTTPRequestHandlerFactory.h>
#include <Poco/Net/HTTPServerConnection.h>
#include <Poco/Net/HTTPServerRequest.h>
#include <Poco/Net/HTTPServerRequestImpl.h>
#include <Poco/Net/HTTPServerResponse.h>
#include <Poco/Net/NetException.h>
#include <Poco/Net/SecureServerSocket.h>
#include <Poco/Net/SocketAddress.h>
#include <Poco/Net/TCPServerConnectionFactory.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace devserver {
namespace {

namespace net = Poco::Net;

// Far above what a service request holds; a body beyond it is not kept.
constexpr std::size_t kMostBody = std::size_t{256} * 1024 * 1024;

// False: the body is longer than the limit.
bool readBody(std::istream& source, std::string& body) {
    char buffer[16384];
    do {
        source.read(buffer, sizeof buffer);
        body.append(buffer, static_cast<std::size_t>(source.gcount()));
    } while (source && body.size() <= kMostBody);
    return body.size() <= kMostBody;
}

// Without a length and without chunks there is no body, though the stream would wait for one until the client
// closes.
bool announcesBody(const net::HTTPServerRequest& request) {
    return request.hasContentLength() || request.getChunkedTransferEncoding();
}

void hangUp(net::HTTPServerRequest& request) {
    net::StreamSocket socket = static_cast<net::HTTPServerRequestImpl&>(request).detachSocket();
    cutConnection(socket);
}

// Where the rest of a body has not been read, a client may miss a reply that comes all the same.
void readOff(std::istream* rest) {
    char buffer[65536];
    while (rest != nullptr && rest->read(buffer, sizeof buffer)) {
    }
}

// False: the body has come to an end before its length, and so has the connection's use.
bool sendStream(const StreamedBody& body, std::uint64_t most, std::ostream& out) {
    std::vector<char> buffer(65536);
    while (most > 0 && out) {
        const std::size_t got =
            body.read(buffer.data(), static_cast<std::size_t>(std::min<std::uint64_t>(buffer.size(), most)));
        if (got == 0) {
            return false;
        }
        out.write(buffer.data(), static_cast<std::streamsize>(got));
        most -= got;
    }
    out.flush();
    return out.good();
}

void send(const HttpReply& reply, net::HTTPServerRequest& request, net::HTTPServerResponse& response) {
    if (reply.hangUp) {
        hangUp(request);
        return;
    }
    response.setStatusAndReason(static_cast<net::HTTPResponse::HTTPStatus>(reply.status));
    response.setContentType(reply.contentType);
    for (const auto& [name, value] : reply.headers) {
        response.add(name, value);
    }
    const std::uint64_t length = reply.stream ? reply.stream->length : reply.body.size();
    const std::uint64_t sent = std::min(reply.cutAfter, length);
    if (!reply.stream && sent == length) {
        response.sendBuffer(reply.body.data(), reply.body.size());
        return;
    }
    response.setContentLength64(static_cast<Poco::Int64>(length));
    if (sent < length) {
        response.setKeepAlive(false);
    }
    if (!reply.stream) {
        response.send().write(reply.body.data(), static_cast<std::streamsize>(sent));
    } else if (!sendStream(*reply.stream, sent, response.send())) {
        hangUp(request);
    }
}

class Handler : public net::HTTPRequestHandler {
public:
    Handler(Platform& platform, Ports ports) : m_platform(platform), m_ports(ports) {}

    void handleRequest(net::HTTPServerRequest& request, net::HTTPServerResponse& response) override {
        if (request.getExpectContinue()) {
            response.sendContinue();
        }
        HttpRequest read;
        read.method = request.getMethod();
        const std::string& uri = request.getURI();
        const std::size_t question = std::min(uri.find('?'), uri.size());
        read.path = uri.substr(0, question);
        read.query = uri.substr(std::min(question + 1, uri.size()));
        std::copy(request.begin(), request.end(), std::back_inserter(read.headers));
        read.serverHost = request.serverAddress().host().toString();
        read.serverPorts = m_ports;
        read.overTls = request.secure();
        if (announcesBody(request) && Platform::takesStream(read)) {
            read.stream = &request.stream();
        } else if (announcesBody(request) && !readBody(request.stream(), read.body)) {
            HttpReply tooLong;
            tooLong.status = net::HTTPResponse::HTTP_REQUEST_ENTITY_TOO_LARGE;
            response.setKeepAlive(false);
            send(tooLong, request, response);
            return;
        }
        const HttpReply reply = m_platform.answer(read);
        if (!reply.hangUp) {
            readOff(read.stream);
        }
        send(reply, request, response);
    }

private:
    Platform& m_platform;
    const Ports m_ports;
};

class Factory : public net::HTTPRequestHandlerFactory {
public:
    Factory(Platform& platform, Ports ports) : m_platform(platform), m_ports(ports) {}
    net::HTTPRequestHandler* createRequestHandler(const net::HTTPServerRequest&) override {
        return new Handler(m_platform, m_ports);
    }

private:
    Platform& m_platform;
    const Ports m_ports;
};

class Connection : public net::HTTPServerConnection {
public:
    Connection(const net::StreamSocket& socket, const net::HTTPServerParams::Ptr& params,
               const net::HTTPRequestHandlerFactory::Ptr& factory, OpenConnections& all)
        : net::HTTPServerConnection(socket, params, factory), m_guard(all, socket) {}

private:
    const OpenConnections::Guard m_guard;
};

// POCO's own server would end a connection from another thread through its TLS, and not at all before the
// handshake.
class ConnectionFactory : public net::TCPServerConnectionFactory {
public:
    ConnectionFactory(Platform& platform, Ports ports, const net::HTTPServerParams::Ptr& params,
                      OpenConnections& all)
        : m_params(params), m_factory(new Factory(platform, ports)), m_all(all) {}
    net::TCPServerConnection* createConnection(const net::StreamSocket& socket) override {
        return new Connection(socket, m_params, m_factory, m_all);
    }

private:
    const net::HTTPServerParams::Ptr m_params;
    const net::HTTPRequestHandlerFactory::Ptr m_factory;
    OpenConnections& m_all;
};

net::HTTPServerParams::Ptr serverParams(int threads) {
    net::HTTPServerParams::Ptr params(new net::HTTPServerParams);
    params->setMaxThreads(threads);
    params->setMaxQueued(4096);
    params->setKeepAlive(true);
    params->setSoftwareVersion("vlox-devserver");
    return params;
}

// OpenSSL would read a certificate's extensions at its first use, when several connections already share it.
void readExtensions(SSL_CTX* context) {
    X509_check_purpose(SSL_CTX_get0_certificate(context), -1, 0);
    const STACK_OF(X509_OBJECT)* const trusted = X509_STORE_get0_objects(SSL_CTX_get_cert_store(context));
    for (int i = 0; i < sk_X509_OBJECT_num(trusted); ++i) {
        if (X509* const certificate = X509_OBJECT_get0_X509(sk_X509_OBJECT_value(trusted, i))) {
            X509_check_purpose(certificate, -1, 0);
        }
    }
}

// A port that a server has just left is free at once; one that a server still has is not shared with it.
void bindAlone(net::ServerSocket& socket, const net::SocketAddress& address) {
    try {
        socket.bind(address, true, false);
    } catch (const net::NetException& error) {
        if (error.code() != POCO_EADDRINUSE) {
            throw;
        }
        throw std::runtime_error("port " + std::to_string(address.port()) + " of " +
                                 address.host().toString() + " is taken by another process");
    }
}

}  // namespace

net::ServerSocket boundSocket(const std::string& host, unsigned short port) {
    net::ServerSocket socket;
    bindAlone(socket, net::SocketAddress(host, port));
    return socket;
}

net::ServerSocket boundTlsSocket(const std::string& host, const std::string& certificateFile,
                                 const std::string& authorityFile, ClientCertificate client) {
    net::Context::Params params;
    params.certificateFile = certificateFile;
    params.privateKeyFile = certificateFile;
    params.caLocation = authorityFile;
    params.verificationMode = net::Context::VERIFY_NONE;
    net::Context::Ptr context(new net::Context(net::Context::TLS_SERVER_USE, params));
    // POCO's own strict mode would look for the client's host name in its certificate.
    if (client == ClientCertificate::Needed) {
        SSL_CTX_set_verify(context->sslContext(), SSL_VERIFY_PEER | SSL_VERIFY_FAIL_IF_NO_PEER_CERT, nullptr);
    }
    // A client that comes again with a session of before is refused where sessions have no name.
    context->enableSessionCache(true, "vlox-devserver");
    readExtensions(context->sslContext());
    net::SecureServerSocket socket(context);
    bindAlone(socket, net::SocketAddress(host, 0));
    return socket;
}

void listenOn(net::ServerSocket& socket) { socket.listen(1024); }

HttpServer::HttpServer(Platform& platform, const net::ServerSocket& socket, int threads, Ports ports)
    : m_pool("connections", 2, threads + 1),  // one of them accepts
      m_params(serverParams(threads)),
      m_server(new ConnectionFactory(platform, ports, m_params, m_connections), m_pool, socket, m_params) {
    m_server.start();
}

HttpServer::~HttpServer() { stop(); }

void HttpServer::stop() {
    m_connections.end();
    m_server.stop();
    m_pool.joinAll();
}

}  // namespace devserver
