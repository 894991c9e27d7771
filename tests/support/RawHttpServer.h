#ifndef TESTS_SUPPORT_RAWHTTPSERVER_H
#define TESTS_SUPPORT_RAWHTTPSERVER_H

#include <Poco/Exception.h>
#include <Poco/Net/ServerSocket.h>
#include <Poco/Net/StreamSocket.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace vlox_test {

/// A server on the loopback address that answers each connection with exactly the bytes that a test wants,
/// well formed or not, and keeps the requests as they came.
class RawHttpServer {
public:
    /// Gets the whole request and writes what it likes; the connection is closed behind it.
    using Handler = std::function<void(Poco::Net::StreamSocket& client, const std::string& request)>;

    explicit RawHttpServer(Handler handler)
        : m_handler(std::move(handler)),
          m_socket(Poco::Net::SocketAddress("127.0.0.1", 0)),
          m_thread([this] { serve(); }) {}
    /// Answers every request with the same bytes.
    explicit RawHttpServer(std::string reply)
        : RawHttpServer([bytes = std::move(reply)](Poco::Net::StreamSocket& client, const std::string&) {
              send(client, bytes);
          }) {}
    ~RawHttpServer() {
        m_stop = true;
        m_thread.join();
    }
    RawHttpServer(const RawHttpServer&) = delete;
    RawHttpServer& operator=(const RawHttpServer&) = delete;

    int port() const { return m_socket.address().port(); }
    std::string url(const std::string& path = "/") const {
        return "http://127.0.0.1:" + std::to_string(port()) + path;
    }
    std::vector<std::string> requests() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_requests;
    }
    std::string lastRequest() const {
        const std::vector<std::string> all = requests();
        return all.empty() ? "" : all.back();
    }
    static std::string bodyOf(const std::string& request) {
        const std::size_t end = request.find("\r\n\r\n");
        return end == std::string::npos ? "" : request.substr(end + 4);
    }

    /// A well-formed reply.
    static std::string reply(const std::string& status, const std::string& headers, const std::string& body) {
        return "HTTP/1.1 " + status + "\r\n" + headers + "Content-Length: " + std::to_string(body.size()) +
               "\r\nConnection: close\r\n\r\n" + body;
    }
    static std::string ok(const std::string& body) { return reply("200 OK", "", body); }

    static void send(Poco::Net::StreamSocket& client, const std::string& bytes) {
        for (std::size_t sent = 0; sent < bytes.size();) {
            const std::size_t rest = std::min<std::size_t>(bytes.size() - sent, 1 << 20);
            sent += static_cast<std::size_t>(client.sendBytes(bytes.data() + sent, static_cast<int>(rest)));
        }
    }
    /// Says nothing until the other side gives up.
    static void stall(Poco::Net::StreamSocket& client) {
        char ignored[4096];
        while (client.receiveBytes(ignored, sizeof ignored) > 0) {
        }
    }

private:
    void serve() {
        while (!m_stop) {
            if (m_socket.poll(Poco::Timespan(0, 20000), Poco::Net::Socket::SELECT_READ)) {
                Poco::Net::StreamSocket client = m_socket.acceptConnection();
                try {
                    client.setReceiveTimeout(Poco::Timespan(20, 0));
                    client.setSendTimeout(Poco::Timespan(10, 0));
                    m_handler(client, remember(receive(client)));
                    drain(client);
                } catch (const Poco::Exception&) {
                    // The client has hung up: that is one of the things that tests provoke.
                }
            }
        }
    }

    std::string remember(std::string request) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_requests.push_back(request);
        return request;
    }

    static std::string receive(Poco::Net::StreamSocket& client) {
        std::string request;
        bool told = false;
        while (!complete(request)) {
            char buffer[16384];
            const int count = client.receiveBytes(buffer, sizeof buffer);
            if (count <= 0) {
                break;
            }
            request.append(buffer, static_cast<std::size_t>(count));
            if (!told && request.find("Expect: 100-continue\r\n") != std::string::npos) {
                send(client, "HTTP/1.1 100 Continue\r\n\r\n");
                told = true;
            }
        }
        return request;
    }

    static bool complete(const std::string& request) {
        const std::size_t end = request.find("\r\n\r\n");
        if (end == std::string::npos) {
            return false;
        }
        if (request.find("Transfer-Encoding: chunked\r\n") < end) {
            return request.size() > 5 && request.compare(request.size() - 5, 5, "0\r\n\r\n") == 0;
        }
        const std::size_t length = request.find("Content-Length: ");
        const std::size_t body = request.size() - end - 4;
        return length == std::string::npos || length > end ||
               body >= std::strtoull(request.c_str() + length + 16, nullptr, 10);
    }

    // A close with unread input would reset the connection and could take the reply with it.
    static void drain(Poco::Net::StreamSocket& client) {
        client.shutdownSend();
        stall(client);
    }

    Handler m_handler;
    Poco::Net::ServerSocket m_socket;
    mutable std::mutex m_mutex;
    std::vector<std::string> m_requests;  // guarded by m_mutex
    std::atomic<bool> m_stop{false};
    std::thread m_thread;  // last: it uses all of the above
};

}  // namespace vlox_test

#endif
