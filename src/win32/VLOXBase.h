#ifndef WIN32_VLOXBASE_H
#define WIN32_VLOXBASE_H

#include <vloxlib/ConfigKey.h>
#include <vloxlib/Export.h>
#include <vloxlib/Types.h>
#include <vloxlib/UserInfo.h>
#include <vloxlib/http/HttpTypes.h>
#include <vloxlib/utility/RapidJsonUtils.h>
#include <map>
#include <string>

namespace vloxlib {

class VloxModuleAbstract;

/// @brief The hub that ties a client id to an identity, a configuration and business modules. Static
/// operations only.
///
/// Client ids are signed 64-bit numbers, unique in the process and not kept beyond it.
/// Threads: any. Commands of all clients are delivered one at a time, on the caller's thread, under one lock
/// that re-enters; while a module waits in NetworkMonitor, network
/// listeners may reach modules. clientExist(), setLogin(), isLogin(),
/// getUserInfo() and getUrl() never wait for a command that runs.
/// Ownership: modules are not owned; a client's configuration lives at least as long as the client.
/// Errors: an unknown client id never raises. What a module or a release function throws passes through.
class VLOX_API VLOXBase {
public:
    /// Told of each client that is released; the result is ignored.
    using ReleaseFunc = int (*)(__int64 clientId);

    VLOXBase() = delete;

    /// @brief The client of this application and account, made on first need.
    static __int64 creatClient(const std::string& appId, const std::string& vloxId);
    static bool clientExist(__int64 clientId);
    /// @brief Tells every release function, also of an unknown client, and forgets the client and its
    /// modules.
    ///
    /// Modules are neither told nor deleted: they are to be unloaded before.
    /// @return 0
    static int releaseClient(__int64 clientId);
    /// @brief Adds a function that releaseClient() calls, under its lock, in the order of registration. Null
    /// is ignored.
    static void registerReleaseFunc(ReleaseFunc func);

    /// @brief Appends a module to the client's, unseen whether client or module are known, and tells it. One
    /// that throws is taken out again.
    /// @return 0; -1 for a null module
    static int registerModule(__int64 clientId, VloxModuleAbstract* module);
    /// @brief Takes out the first entry of a module and tells the module, also when there is no entry.
    /// @return 0; -1 for a null module
    static int unregisterModule(__int64 clientId, VloxModuleAbstract* module);
    /// @brief Hands a command to each of the client's modules that accepts the target, in the order of
    /// registration.
    /// @return 0
    /// @{
    static int dispatchBusinessCmd(__int64 clientId, int target, int cmd, const std::string& data);
    static int dispatchNotificationCmd(__int64 clientId, int target, int cmd, const std::string& data);
    /// @}
    static void onSdkEvent(__int64 clientId, int target, const std::string& a, int b, const std::string& c);

    /// @brief Notes whether the client is logged in, for the modules; nothing in the library depends on it.
    static void setLogin(__int64 clientId, bool login);
    static bool isLogin(__int64 clientId);
    /// @return the client's identity; two empty texts for an unknown client
    static UserInfo getUserInfo(__int64 clientId);
    /// @brief The full URL of a service's path; an unset host or port leaves its place empty.
    static std::string getUrl(__int64 clientId, _ConfigKey hostKey, _ConfigKey portKey,
                              const std::string& path);

    /// @name Service requests
    /// One request of the client's HttpHelper within 15 seconds, on the caller's thread and without a lock.
    /// Who makes several should hold the client's HttpHelper and EncryptBridge, or each request makes them
    /// anew.
    /// @param path the whole URL, as getUrl() gives it
    /// @param headParams a value for each ${name} in the URL
    /// @return the result text of HttpHelper::doSyncHttpRequest(); empty when nothing was sent
    /// @{
    static std::string doSyncHttpRequest(__int64 clientId, HTTPMethod method, HTTPBusinessType businessType,
                                         const std::string& path, const std::string& body);
    static std::string doSyncHttpRequest(__int64 clientId, HTTPMethod method, HTTPBusinessType businessType,
                                         const std::string& path, const std::string& body,
                                         const std::map<std::string, std::string>& headParams);
    static std::string doSyncHttpRequest(__int64 clientId, HTTPMethod method, HTTPBusinessType businessType,
                                         const std::string& path, JsonValue& body);
    /// @}
};

}  // namespace vloxlib

#endif
