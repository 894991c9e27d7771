#include "vloxlib/network/NetworkMonitor.h"

#include <algorithm>
#include <exception>
#include <forward_list>

#include "vloxlib/log/vloxLog.h"
#include "vloxlib/network/NetworkChangedListener.h"
#include "vloxlib/thread/CallbackLock.h"

namespace vloxlib {

namespace {

thread_local bool s_snapshotGone = false;

// Static objects may still ask when those of the main thread are gone.
struct Snapshot {
    NetworkInfo info;

    Snapshot() = default;
    ~Snapshot() { s_snapshotGone = true; }
    Snapshot(const Snapshot&) = delete;
    Snapshot& operator=(const Snapshot&) = delete;
};

}  // namespace

std::atomic<NetworkType> NetworkMonitor::m_networkType{NETWORK_TYPE_CONNECTED};

NetworkMonitor* NetworkMonitor::getInstance() {
    static NetworkMonitor* const instance = new NetworkMonitor;
    return instance;
}

NetworkType NetworkMonitor::getNetworkType() { return m_networkType; }

// A reference into the monitor would change in the reader's hands.
const NetworkInfo& NetworkMonitor::getCurrentNetworkInfo() const {
    WindowsMutexGuard lock(m_mutex);
    if (s_snapshotGone) {
        static auto& late = *new std::forward_list<NetworkInfo>;  // of threads at their end: few, and kept
        return late.emplace_front(m_currentInfo);
    }
    static thread_local Snapshot snapshot;
    snapshot.info = m_currentInfo;
    return snapshot.info;
}

void NetworkMonitor::setCurrentInfo(const NetworkInfo& info) {
    WindowsMutexGuard lock(m_mutex);
    m_currentInfo = info;
}

void NetworkMonitor::notifyNetworkStatusChanged(const std::string& networkInfoJson) {
    const CallbackLock::Held lock(CallbackLock::listeners());
    VLOX_LOG(0, "networkInfoJson=%s", networkInfoJson.c_str());
    setCurrentInfo(NetworkInfo::fromJson(networkInfoJson));
    m_networkType = m_currentInfo.getNetworkType();
    // By index: a listener that unregisters from here against the rules must not leave the walk on stale
    // memory.
    for (std::size_t place = 0; place < m_listeners.size(); ++place) {
        if (m_listeners[place] != nullptr) {
            tell(*m_listeners[place]);
        }
    }
    m_lastInfo.setTimestamp(m_currentInfo.getTimestamp());
    if (m_currentInfo.getNetworkType() != NETWORK_TYPE_NONE) {
        m_lastInfo = m_currentInfo;
    }
}

// What it throws may not end the library's own thread, nor keep the change from the others.
void NetworkMonitor::tell(NetworkChangedListener& listener) const {
    try {
        if (listener.needPrompt(m_currentInfo, m_lastInfo)) {
            listener.onNetworkChanged(m_currentInfo);
        }
    } catch (const std::exception& error) {
        VLOX_LOG(4, "a network listener failed: %s", error.what());
    } catch (...) {
        VLOX_LOG(4, "a network listener failed");
    }
}

void NetworkMonitor::registerNetworkStatusChangedListener(NetworkChangedListener* listener) {
    const CallbackLock::Held lock(CallbackLock::listeners());
    if (std::find(m_listeners.begin(), m_listeners.end(), listener) == m_listeners.end()) {
        m_listeners.push_back(listener);
    }
}

void NetworkMonitor::unregisterNetworkStatusChangedListener(NetworkChangedListener* listener) {
    const CallbackLock::Held lock(CallbackLock::listeners());
    const auto place = std::find(m_listeners.begin(), m_listeners.end(), listener);
    if (place != m_listeners.end()) {
        m_listeners.erase(place);
    }
}

}  // namespace vloxlib
