#ifndef VLOXLIB_NETWORK_NETWORKMONITOR_H
#define VLOXLIB_NETWORK_NETWORKMONITOR_H

#include <vloxlib/Export.h>
#include <vloxlib/network/NetworkInfo.h>
#include <vloxlib/thread/Windows/WindowsMutex.h>
#include <atomic>
#include <string>
#include <vector>

namespace vloxlib {

class NetworkChangedListener;

/// @brief The process's idea of the network, and the listeners that hear of its changes.
///
/// It is fed by the library's watching thread and by the application. Until the first notification a network
/// is assumed. Life: one object, never destroyed, since the watching thread may outlive everything else.
/// Threads: any. Listeners are called on the notifying thread, one notification at a time; others that
/// notify, register or unregister wait for its end. A listener may call modules, also while one of them waits
/// here. Ownership: listeners are the callers', and have to stay alive until they are unregistered. Errors:
/// none are reported; a text that is no JSON counts as a notification of no network. What a listener throws
/// is logged at level 4, and the others are told.
class VLOX_API NetworkMonitor {
public:
    static NetworkMonitor* getInstance();
    static NetworkType getNetworkType();  ///< @return the last type seen, without waiting for anybody

    NetworkMonitor(const NetworkMonitor&) = delete;
    NetworkMonitor& operator=(const NetworkMonitor&) = delete;

    /// @return the calling thread's copy of the last notification, which holds until this thread's next call
    const NetworkInfo& getCurrentNetworkInfo() const;
    /// @param networkInfoJson see NetworkInfo::fromJson()
    void notifyNetworkStatusChanged(const std::string& networkInfoJson);
    void registerNetworkStatusChangedListener(
        NetworkChangedListener* listener);  ///< Once, however often called.
    /// @brief Waits for a notification that is under way, unless called from within it.
    void unregisterNetworkStatusChangedListener(NetworkChangedListener* listener);

private:
    NetworkMonitor() = default;
    ~NetworkMonitor() = default;

    void setCurrentInfo(const NetworkInfo& info);
    void tell(NetworkChangedListener& listener) const;

    static std::atomic<NetworkType> m_networkType;

    std::vector<NetworkChangedListener*> m_listeners;  // guarded by the listeners' lock, as is m_lastInfo
    NetworkInfo m_currentInfo;                         // written under both locks, read under either
    NetworkInfo m_lastInfo;
    WindowsMutex m_mutex;  // taken last, so that readers don't wait for listeners
};

}  // namespace vloxlib

#endif
