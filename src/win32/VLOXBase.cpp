#include "win32/VLOXBase.h"

#include <algorithm>
#include <cstddef>
#include <ctime>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "vloxlib/ConfigManager.h"
#include "vloxlib/http/HttpHelper.h"
#include "vloxlib/http/ServiceUrl.h"
#include "vloxlib/log/vloxLog.h"
#include "vloxlib/thread/CallbackLock.h"
#include "vloxlib/thread/Windows/WindowsMutex.h"
#include "win32/VloxModuleAbstract.h"

namespace vloxlib {

namespace {

struct ClientEntry {
    std::shared_ptr<ConfigManager> config;  // keeps the configuration alive as long as the client
    UserInfo user;
    bool login = false;
};

// Who the clients are. Its lock is held for moments only and taken last, so that reading never waits for a
// module.
class ClientTable {
public:
    void add(__int64 clientId, ClientEntry entry) {
        WindowsMutexGuard lock(m_mutex);
        m_ids[keyOf(entry.user)] = clientId;
        m_clients[clientId] = std::move(entry);
    }
    // What the client held goes without the lock, with the result.
    ClientEntry remove(__int64 clientId) {
        WindowsMutexGuard lock(m_mutex);
        const auto row = m_clients.extract(clientId);
        if (row.empty()) {
            return {};
        }
        m_ids.erase(keyOf(row.mapped().user));
        return std::move(row.mapped());
    }
    bool has(__int64 clientId) const {
        WindowsMutexGuard lock(m_mutex);
        return m_clients.count(clientId) != 0;
    }
    bool find(const UserInfo& user, __int64& clientId) const {
        WindowsMutexGuard lock(m_mutex);
        const auto place = m_ids.find(keyOf(user));
        if (place == m_ids.end()) {
            return false;
        }
        clientId = place->second;
        return true;
    }
    // Hands the client's row to the reader or writer; says so when there is none.
    template <typename Access>
    bool visit(__int64 clientId, Access access) {
        WindowsMutexGuard lock(m_mutex);
        const auto place = m_clients.find(clientId);
        if (place == m_clients.end()) {
            return false;
        }
        access(place->second);
        return true;
    }

private:
    using Key = std::pair<std::string, std::string>;
    static Key keyOf(const UserInfo& user) { return {user.getVloxID(), user.getAppID()}; }

    WindowsMutex m_mutex;
    std::map<__int64, ClientEntry> m_clients;  // guarded by m_mutex, as are their ids by account
    std::map<Key, __int64> m_ids;
};

class ReleaseFuncs {
public:
    void add(VLOXBase::ReleaseFunc func) {
        WindowsMutexGuard lock(m_mutex);
        m_funcs.push_back(func);
    }
    std::vector<VLOXBase::ReleaseFunc> all() const {
        WindowsMutexGuard lock(m_mutex);
        return m_funcs;
    }

private:
    WindowsMutex m_mutex;
    std::vector<VLOXBase::ReleaseFunc> m_funcs;  // guarded by m_mutex
};

// The process's registry. Lock order: the modules' lock, then an InstancesHolder's, then a table's own.
struct Registry {
    std::map<__int64, std::vector<VloxModuleAbstract*>> modules;  // guarded by the modules' lock
    __int64 lastClientId = 0;  // guarded by the modules' lock; 0 before the first client
    ClientTable clients;
    ReleaseFuncs releaseFuncs;
};

// Never destroyed: threads of the modules may still run when the process ends.
Registry& registry() {
    static Registry* const instance = new Registry;
    return *instance;
}

std::size_t countModules(__int64 clientId) {
    const auto row = registry().modules.find(clientId);
    return row == registry().modules.end() ? 0 : row->second.size();
}

std::ptrdiff_t countEntries(__int64 clientId, const VloxModuleAbstract* module) {
    const auto row = registry().modules.find(clientId);
    return row == registry().modules.end() ? 0 : std::count(row->second.begin(), row->second.end(), module);
}

// The first entry of a module, when there is one.
void takeOut(__int64 clientId, const VloxModuleAbstract* module) {
    const auto row = registry().modules.find(clientId);
    if (row == registry().modules.end()) {
        return;
    }
    std::vector<VloxModuleAbstract*>& modules = row->second;
    const auto place = std::find(modules.begin(), modules.end(), module);
    if (place != modules.end()) {
        modules.erase(place);
    }
    if (modules.empty()) {
        registry().modules.erase(row);
    }
}

VloxModuleAbstract* moduleAt(__int64 clientId, std::size_t place) {
    return place < countModules(clientId) ? registry().modules[clientId][place] : nullptr;
}

// The row is looked up for each module: one that registers or leaves from here against the rules must not
// leave the walk on stale memory. Modules that come during the walk aren't called.
template <typename Call>
void callAcceptingModules(__int64 clientId, int target, Call call) {
    const CallbackLock::Held lock(CallbackLock::modules());
    const std::size_t count = countModules(clientId);
    for (std::size_t place = 0; place < count; ++place) {
        VloxModuleAbstract* const module = moduleAt(clientId, place);
        if (module != nullptr && module->acceptsCommand(target)) {
            call(*module);
        }
    }
}

void logUnknownClient(__int64 clientId) {
    VLOX_LOG(4, "client:%d not exist",
             static_cast<int>(clientId));  // shows the id's low half, as it always did
}

}  // namespace

__int64 VLOXBase::creatClient(const std::string& appId, const std::string& vloxId) {
    const CallbackLock::Held lock(CallbackLock::modules());
    const UserInfo user(appId, vloxId);
    __int64 clientId = 0;
    if (registry().clients.find(user, clientId)) {
        return clientId;
    }
    const std::shared_ptr<ConfigManager> config = ConfigManager::getInstance(vloxId);
    if (registry().lastClientId == 0) {
        registry().lastClientId = std::time(nullptr);
    }
    clientId = ++registry().lastClientId;
    registry().clients.add(clientId, {config, user, false});
    return clientId;
}

bool VLOXBase::clientExist(__int64 clientId) { return registry().clients.has(clientId); }

int VLOXBase::releaseClient(__int64 clientId) {
    const CallbackLock::Held lock(CallbackLock::modules());
    registry().modules.erase(clientId);
    for (const ReleaseFunc func : registry().releaseFuncs.all()) {
        func(clientId);
    }
    registry().clients.remove(clientId);
    return 0;
}

void VLOXBase::registerReleaseFunc(ReleaseFunc func) {
    if (func != nullptr) {
        registry().releaseFuncs.add(func);
    }
}

int VLOXBase::registerModule(__int64 clientId, VloxModuleAbstract* module) {
    if (module == nullptr) {
        return -1;
    }
    const CallbackLock::Held lock(CallbackLock::modules());
    const std::ptrdiff_t before = countEntries(clientId, module);
    registry().modules[clientId].push_back(module);
    try {
        module->onModuleRegistered(clientId);
    } catch (...) {
        // Unless it has left by itself: its caller may delete it.
        if (countEntries(clientId, module) > before) {
            takeOut(clientId, module);
        }
        throw;
    }
    return 0;
}

int VLOXBase::unregisterModule(__int64 clientId, VloxModuleAbstract* module) {
    if (module == nullptr) {
        return -1;
    }
    const CallbackLock::Held lock(CallbackLock::modules());
    takeOut(clientId, module);
    module->onModuleUnregistered();
    return 0;
}

int VLOXBase::dispatchBusinessCmd(__int64 clientId, int target, int cmd, const std::string& data) {
    callAcceptingModules(clientId, target,
                         [&](VloxModuleAbstract& module) { module.onBusinessCmd(target, cmd, data); });
    return 0;
}

int VLOXBase::dispatchNotificationCmd(__int64 clientId, int target, int cmd, const std::string& data) {
    callAcceptingModules(clientId, target,
                         [&](VloxModuleAbstract& module) { module.onNotificationCmd(target, cmd, data); });
    return 0;
}

void VLOXBase::onSdkEvent(__int64 clientId, int target, const std::string& a, int b, const std::string& c) {
    callAcceptingModules(clientId, target,
                         [&](VloxModuleAbstract& module) { module.onSdkEventCmd(target, a, b, c); });
}

void VLOXBase::setLogin(__int64 clientId, bool login) {
    registry().clients.visit(clientId, [&](ClientEntry& client) { client.login = login; });
}

bool VLOXBase::isLogin(__int64 clientId) {
    bool login = false;
    if (!registry().clients.visit(clientId, [&](const ClientEntry& client) { login = client.login; })) {
        logUnknownClient(clientId);
    }
    return login;
}

UserInfo VLOXBase::getUserInfo(__int64 clientId) {
    UserInfo user;
    if (!registry().clients.visit(clientId, [&](const ClientEntry& client) { user = client.user; })) {
        logUnknownClient(clientId);
    }
    return user;
}

std::string VLOXBase::getUrl(__int64 clientId, _ConfigKey hostKey, _ConfigKey portKey,
                             const std::string& path) {
    const auto config = ConfigManager::getInstance(getUserInfo(clientId).getVloxID());
    return serviceUrl(*config, config->getConfig(hostKey, ""), config->getConfig(portKey, ""), path);
}

std::string VLOXBase::doSyncHttpRequest(__int64 clientId, HTTPMethod method, HTTPBusinessType businessType,
                                        const std::string& path, const std::string& body) {
    return HttpHelper::getInstance(getUserInfo(clientId))
        ->doSyncHttpRequest(method, businessType, path, body);
}

std::string VLOXBase::doSyncHttpRequest(__int64 clientId, HTTPMethod method, HTTPBusinessType businessType,
                                        const std::string& path, const std::string& body,
                                        const std::map<std::string, std::string>& headParams) {
    return HttpHelper::getInstance(getUserInfo(clientId))
        ->doSyncHttpRequest(method, businessType, path, headParams, body);
}

std::string VLOXBase::doSyncHttpRequest(__int64 clientId, HTTPMethod method, HTTPBusinessType businessType,
                                        const std::string& path, JsonValue& body) {
    return HttpHelper::getInstance(getUserInfo(clientId))
        ->doSyncHttpRequest(method, businessType, path, body, std::map<std::string, std::string>());
}

}  // namespace vloxlib
