#include "OpenConnections.h"

#include <Poco/Exception.h>
#include <Poco/Net/SocketImpl.h>

namespace devserver {

void cutConnection(Poco::Net::StreamSocket& socket) {
    try {
        socket.impl()->Poco::Net::SocketImpl::shutdown();
    } catch (const Poco::Exception&) {  // the client has gone already
    }
}

OpenConnections::Guard::Guard(OpenConnections& all, const Poco::Net::StreamSocket& socket) : m_all(all) {
    const std::lock_guard<std::mutex> lock(m_all.m_mutex);
    m_socket = m_all.m_sockets.insert(m_all.m_sockets.end(), socket);
    if (m_all.m_ended) {
        cutConnection(*m_socket);
    }
}

OpenConnections::Guard::~Guard() {
    const std::lock_guard<std::mutex> lock(m_all.m_mutex);
    m_all.m_sockets.erase(m_socket);
}

void OpenConnections::end() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_ended = true;
    for (Poco::Net::StreamSocket& socket : m_sockets) {
        cutConnection(socket);
    }
}

}  // namespace devserver
