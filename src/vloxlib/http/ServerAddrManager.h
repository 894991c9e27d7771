#ifndef VLOXLIB_HTTP_SERVERADDRMANAGER_H
#define VLOXLIB_HTTP_SERVERADDRMANAGER_H

#include <rapidjson/document.h>

#include <vloxlib/ConfigKey.h>
#include <vloxlib/Export.h>
#include <vloxlib/Noncopyable.h>
#include <vloxlib/UserInfo.h>
#include <vloxlib/utility/RapidJsonUtils.h>
#include <memory>
#include <string>

namespace vloxlib {

class ConfigManager;
struct KnownAddresses;
template <typename T>
class InstancesHolder;

/// @brief Where a client's services are: asks the "AS" server, writes the answer into the client's
/// configuration, and swaps the two addresses of "AS" when one of them doesn't answer.
///
/// Threads: any. A running query holds up all others that ask or wait, for up to two exchanges.
class VLOX_API ServerAddrManager : public Noncopyable {
public:
    /// @brief The account's living manager, or a new one.
    static std::shared_ptr<ServerAddrManager> getInstance(const UserInfo& userInfo);
    /// @brief Forgets the account's manager; who holds it keeps it.
    static void releaseInstance(const std::string& vloxId);

    explicit ServerAddrManager(const UserInfo& userInfo);
    ~ServerAddrManager() override;

    /// @brief Asks for the addresses unless they are known: first the one address of "AS", then the other.
    /// @return 0, also when the reply ends in an element that can't be read, which drops the rest of it;
    /// -201 without a configured server, -199 for a reply of another shape, else the exchange's code
    int queryServerAddress();

    /// @brief Waits for the addresses. A wake-up by stopServerAddrExistWait() counts as well.
    /// @param seconds the limit, which starts once no query runs
    /// @return false: the limit has passed
    bool isServerAddrExist(int seconds);
    /// @brief Says that the addresses are known, and wakes one waiter.
    void setServerAddrExist();
    /// @brief Says that they aren't, so that the next query asks again.
    void setServerAddrEmpty();
    /// @brief Wakes one waiter, although nothing has changed.
    void stopServerAddrExistWait();

    /// @brief Swaps the one address of "AS" for the other in a URL's host, wherever the host holds it.
    /// @param key where the new host is kept; nowhere for CONFIG_AS_HOST
    /// @return false, with the URL unchanged: there is nothing to swap
    bool replaceServerAddress(_ConfigKey key, std::string& url);
    /// @brief Swaps it in the configured host of `key`. The other arguments have no effect.
    bool replaceServerAddressOfConfig(_ConfigKey key, _ConfigKey otherKey, const std::string& unused);

private:
    static InstancesHolder<ServerAddrManager>& s_instanceHolder;  // never destroyed

    int queryServerAddress(const std::string& host, const std::string& port, rapidjson::Document& document,
                           JsonValue& result);
    void setConfigForServerAddress(const JsonValue& services);
    std::string configText(_ConfigKey key) const;

    const UserInfo m_userInfo;
    const std::shared_ptr<ConfigManager> m_configManager;
    const std::shared_ptr<KnownAddresses> m_known;
};

}  // namespace vloxlib

#endif
