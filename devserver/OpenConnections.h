#ifndef DEVSERVER_OPENCONNECTIONS_H
#define DEVSERVER_OPENCONNECTIONS_H

#include <Poco/Net/StreamSocket.h>

#include <list>
#include <mutex>

namespace devserver {

/// Ends a connection for both sides, whatever is on its way in it. From any thread: it is cut beneath the
/// TLS, which bears one thread only.
void cutConnection(Poco::Net::StreamSocket& socket);

/// The connections that are open, so that all can be ended. All operations from any thread.
class OpenConnections {
public:
    /// Knows of a connection from construction to destruction, and keeps its socket as long.
    class Guard {
    public:
        Guard(OpenConnections& all, const Poco::Net::StreamSocket& socket);
        ~Guard();
        Guard(const Guard&) = delete;
        Guard& operator=(const Guard&) = delete;

    private:
        OpenConnections& m_all;
        std::list<Poco::Net::StreamSocket>::iterator m_socket;
    };

    /// Cuts all connections, also those to come.
    void end();

private:
    std::mutex m_mutex;
    std::list<Poco::Net::StreamSocket> m_sockets;  // guarded by m_mutex
    bool m_ended = false;                          // guarded by m_mutex
};

}  // namespace devserver

#endif
