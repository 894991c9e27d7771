#ifndef VLOXLIB_NETWORK_NETWORKMONITOR_H
#define VLOXLIB_NETWORK_NETWORKMONITOR_H

#include <vloxlib/Export.h>
#include <vloxlib/network/NetworkInfo.h>
#include <vloxlib/thread/Windows/WindowsMutex.h>
#include <atomic>
#include <mutex>
#include <string>
#include <vector>

namespace vloxlib {

class NetworkChangedListener;

/// @brief The process's idea of the network, and the listeners that hear of its changes.
///
/// It is fed by the library's watching thread and by the application. Until the first notification a network
/// is assumed. Life: one object, never destroyed, since the watching thread may outlive everything else.
/// Threads: any. Listeners are called on the notifying thread, one notification at a time.
/// Ownership: listeners are the callers', and have to stay alive until they are unregistered.
/// Errors: none are reported; a text that is no JSON counts as a notification of no network.
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

    static std::atomic<NetworkType> m_networkType;

    WindowsMutex m_mutex;                              // held across the listeners' calls
    std::vector<NetworkChangedListener*> m_listeners;  // guarded by m_mutex
    NetworkInfo m_currentInfo;                         // written under both mutexes, read under either
    NetworkInfo m_lastInfo;                            // guarded by m_mutex
    mutable std::mutex m_currentInfoMutex;             // taken last, so that readers don't wait for listeners
};

}  // namespace vloxlib

#endif
