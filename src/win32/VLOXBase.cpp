#include "win32/VLOXBase.h"

#include <algorithm>
#include <ctime>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "vloxlib/ConfigManager.h"
#include "vloxlib/http/HttpHelper.h"
#include "vloxlib/log/vloxLog.h"
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
        std::lock_guard<std::mutex> lock(m_mutex);
        m_clients[clientId] = std::move(entry);
    }
    void remove(__int64 clientId) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_clients.erase(clientId);
    }
    bool has(__int64 clientId) const {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_clients.count(clientId) != 0;
    }
    bool find(const UserInfo& user, __int64& clientId) const {
        std::lock_guard<std::mutex> lock(m_mutex);
        const auto place = std::find_if(m_clients.begin(), m_clients.end(),
                                        [&](const auto& client) { return client.second.user == user; });
        if (place == m_clients.end()) {
            return false;
        }
        clientId = place->first;
        return true;
    }
    // Hands the client's row to the reader or writer; says so when there is none.
    template <typename Access>
    bool visit(__int64 clientId, Access access) {
        std::lock_guard<std::mutex> lock(m_mutex);
        const auto place = m_clients.find(clientId);
        if (place == m_clients.end()) {
            return false;
        }
        access(place->second);
        return true;
    }

private:
    mutable std::mutex m_mutex;
    std::map<__int64, ClientEntry> m_clients;  // guarded by m_mutex
};

class ReleaseFuncs {
public:
    void add(VLOXBase::ReleaseFunc func) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_funcs.push_back(func);
    }
    std::vector<VLOXBase::ReleaseFunc> all() const {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_funcs;
    }

private:
    mutable std::mutex m_mutex;
    std::vector<VLOXBase::ReleaseFunc> m_funcs;  // guarded by m_mutex
};

// The process's registry. Lock order: the registry's mutex, then an InstancesHolder's, then a table's own.
struct Registry {
    WindowsMutex mutex;  // held across the calls of modules and release functions
    std::map<__int64, std::vector<VloxModuleAbstract*>> modules;  // guarded by mutex
    __int64 lastClientId = 0;  // guarded by mutex; 0 before the first client
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

VloxModuleAbstract* moduleAt(__int64 clientId, std::size_t place) {
    return place < countModules(clientId) ? registry().modules[clientId][place] : nullptr;
}

// The row is looked up for each module: one that registers or leaves from here against the rules must not
// leave the walk on stale memory. Modules that come during the walk aren't called.
template <typename Call>
void callAcceptingModules(__int64 clientId, int target, Call call) {
    WindowsMutexGuard lock(registry().mutex);
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
    WindowsMutexGuard lock(registry().mutex);
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

bool VLOXBase::clientExist(__int64 clientId) {
    WindowsMutexGuard lock(registry().mutex);
    return registry().clients.has(clientId);
}

int VLOXBase::releaseClient(__int64 clientId) {
    WindowsMutexGuard lock(registry().mutex);
    registry().modules.erase(clientId);
    for (const ReleaseFunc func : registry().releaseFuncs.all()) {
        func(clientId);
    }
    registry().clients.remove(clientId);
    return 0;
}

void VLOXBase::registerReleaseFunc(ReleaseFunc func) { registry().releaseFuncs.add(func); }

int VLOXBase::registerModule(__int64 clientId, VloxModuleAbstract* module) {
    if (module == nullptr) {
        return -1;
    }
    WindowsMutexGuard lock(registry().mutex);
    registry().modules[clientId].push_back(module);
    module->onModuleRegistered(clientId);
    return 0;
}

int VLOXBase::unregisterModule(__int64 clientId, VloxModuleAbstract* module) {
    if (module == nullptr) {
        return -1;
    }
    WindowsMutexGuard lock(registry().mutex);
    const auto row = registry().modules.find(clientId);
    if (row != registry().modules.end()) {
        std::vector<VloxModuleAbstract*>& modules = row->second;
        const auto place = std::find(modules.begin(), modules.end(), module);
        if (place != modules.end()) {
            modules.erase(place);
        }
        if (modules.empty()) {
            registry().modules.erase(row);
        }
    }
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
    const std::string scheme = config->getConfig(CONFIG_WEB_REQUEST_MODE, 0) == 0 ? "http://" : "https://";
    const std::string prefix = config->getConfig(CONFIG_URL_SERVICE_PREFIX, 1) == 0 ? "/" : "/vlox/";
    return scheme + config->getConfig(hostKey, "") + ":" + config->getConfig(portKey, "") + prefix + path;
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
