#ifndef VLOXLIB_NETWORK_NETWORKINFO_H
#define VLOXLIB_NETWORK_NETWORKINFO_H

#include <vloxlib/Export.h>
#include <vloxlib/Types.h>
#include <string>

namespace vloxlib {

/// Kinds of network. Only "none" is told apart from the others; the application may bring numbers of its own.
enum NetworkType : int { NETWORK_TYPE_NONE = 0, NETWORK_TYPE_CONNECTED = 1 };

/// @brief What is known of the network at one moment. A plain value.
class VLOX_API NetworkInfo {
public:
    /// @brief Reads "networkType", "ipAddress" and "isNetworkInterfaceEnabled", each when it is there with
    /// its type.
    /// @return the snapshot with the time of now; a text that is no JSON gives the starting values
    static NetworkInfo fromJson(std::string json);

    NetworkType getNetworkType() const { return m_networkType; }
    void setNetworkType(int networkType) { m_networkType = static_cast<NetworkType>(networkType); }
    /// @return an address, or any other text that differs when the addresses of this machine do
    const std::string& getIPAddress() const { return m_ipAddress; }
    void setIpAddress(const std::string& ipAddress) { m_ipAddress = ipAddress; }
    __int64 getTimestamp() const { return m_timestamp; }  ///< @return seconds since the epoch
    void setTimestamp(__int64 timestamp) { m_timestamp = timestamp; }
    bool isNetworkInterfaceStateEnabled() const { return m_isNetworkInterfaceEnabled; }
    void setNetworkInterfaceState(bool enabled) { m_isNetworkInterfaceEnabled = enabled; }

private:
    NetworkType m_networkType = NETWORK_TYPE_NONE;
    std::string m_ipAddress;
    __int64 m_timestamp = 0;
    bool m_isNetworkInterfaceEnabled = false;
};

}  // namespace vloxlib

#endif
