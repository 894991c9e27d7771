#include "vloxlib/network/NetworkMonitor.h"

#include <algorithm>

#include "vloxlib/log/vloxLog.h"
#include "vloxlib/network/NetworkChangedListener.h"

namespace vloxlib {

std::atomic<NetworkType> NetworkMonitor::m_networkType{NETWORK_TYPE_CONNECTED};

NetworkMonitor* NetworkMonitor::getInstance() {
    static NetworkMonitor* const instance = new NetworkMonitor;
    return instance;
}

NetworkType NetworkMonitor::getNetworkType() { return m_networkType; }

// A reference into the monitor would change in the reader's hands.
const NetworkInfo& NetworkMonitor::getCurrentNetworkInfo() const {
    static thread_local NetworkInfo snapshot;
    std::lock_guard<std::mutex> lock(m_currentInfoMutex);
    snapshot = m_currentInfo;
    return snapshot;
}

void NetworkMonitor::setCurrentInfo(const NetworkInfo& info) {
    std::lock_guard<std::mutex> lock(m_currentInfoMutex);
    m_currentInfo = info;
}

void NetworkMonitor::notifyNetworkStatusChanged(const std::string& networkInfoJson) {
    WindowsMutexGuard lock(m_mutex);
    VLOX_LOG(0, "networkInfoJson=%s", networkInfoJson.c_str());
    setCurrentInfo(NetworkInfo::fromJson(networkInfoJson));
    m_networkType = m_currentInfo.getNetworkType();
    // By index: a listener that unregisters from here against the rules must not leave the walk on stale
    // memory.
    for (std::size_t place = 0; place < m_listeners.size(); ++place) {
        NetworkChangedListener* const listener = m_listeners[place];
        if (listener != nullptr && listener->needPrompt(m_currentInfo, m_lastInfo)) {
            listener->onNetworkChanged(m_currentInfo);
        }
    }
    m_lastInfo.setTimestamp(m_currentInfo.getTimestamp());
    if (m_currentInfo.getNetworkType() != NETWORK_TYPE_NONE) {
        m_lastInfo = m_currentInfo;
    }
}

void NetworkMonitor::registerNetworkStatusChangedListener(NetworkChangedListener* listener) {
    WindowsMutexGuard lock(m_mutex);
    if (std::find(m_listeners.begin(), m_listeners.end(), listener) == m_listeners.end()) {
        m_listeners.push_back(listener);
    }
}

void NetworkMonitor::unregisterNetworkStatusChangedListener(NetworkChangedListener* listener) {
    WindowsMutexGuard lock(m_mutex);
    const auto place = std::find(m_listeners.begin(), m_listeners.end(), listener);
    if (place != m_listeners.end()) {
        m_listeners.erase(place);
    }
}

}  // namespace vloxlib
