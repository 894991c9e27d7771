#include "win32/vloxCommonlib.h"

#include <Poco/Path.h>

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "platform/Fork.h"
#include "vloxlib/ConfigManager.h"
#include "vloxlib/Context.h"
#include "vloxlib/NativeCodes.h"
#include "vloxlib/dnscache/DNSCacheLog.h"
#include "vloxlib/log/vloxLog.h"
#include "vloxlib/network/NetworkMonitor.h"
#include "vloxlib/thread/CallbackLock.h"
#include "vloxlib/thread/Windows/WindowsMutex.h"
#include "vloxlib/thread/Windows/WindowsThread.h"
#include "vloxlib/utility/LoggedContent.h"
#include "vloxlib/utility/RapidJsonUtils.h"
#include "win32/Identity.h"
#include "win32/VLOXBase.h"
#include "win32/VloxModuleAbstract.h"
#include "win32/VloxNetWorkStateMonitor.h"

using namespace vloxlib;

namespace {

constexpr int kLastDeviceType = 7;
constexpr char kLoggerName[] = "windows_sdk";
constexpr char kVersion[] =
    "windows_sdk-vloxlib-android-3.1.0-SNAPSHOT.a.18701-20190926";  // the same everywhere

void startLogging(const SdkLogParam& logParam) {
    VLOXBase::registerReleaseFunc([](__int64) { return 0; });
    if (logParam.logDir == nullptr) {
        return;
    }
    const std::string logDir = logParam.logDir;
    Context::getInstance()->setContext(CONTEXT_LOG_DIR, logDir);
    const std::string path = logDir + Poco::Path::separator() + kLoggerName + ".log";
    create_logger(kLoggerName, path.c_str(), logParam.debugOutput != 0);
    set_logger_level(logParam.logLevel);
}

void fillContext(const char* dataDir, int deviceType) {
    Context& context = *Context::getInstance();
    context.setContext(CONTEXT_DATA_DIR, dataDir);
    context.setContext(CONTEXT_DEVICE_TYPE, deviceType);
    context.setContext(CONTEXT_RESERVED_1, 0);
    context.setContext(CONTEXT_DEVICE_ID, deviceId());
    context.setContext(CONTEXT_OS_NAME, osName());
    context.setContext(CONTEXT_RESERVED_5, 0);
    context.setContext(CONTEXT_RESERVED_4, "");
    context.setContext(CONTEXT_RESERVED_6, "");
}

// Never destroyed, since the thread never ends.
struct NetworkThread {
    NetWorkStateMonitor monitor;
    WindowsThread thread{&monitor};
};

// What initialize() does once in a process: again in the child of a fork, where there is no such thread.
struct Start {
    WindowsMutex mutex;
    bool loggingStarted = false;  // guarded by mutex; stays false when the log file can't be opened
    std::unique_ptr<NetworkThread> network;  // guarded by mutex
    std::vector<std::unique_ptr<NetworkThread>> parents;

    Start() {
        platform::onFork({[] {}, [] {},
                          [this] {
                              if (network) {
                                  parents.push_back(std::move(network));
                              }
                          }});
    }
    void watchNetwork() {
        if (!network) {
            network = std::make_unique<NetworkThread>();
        }
        network->thread.start();
    }
};

// Never destroyed: a static object of the program may be the one who starts the library.
Start& start() {
    static auto& only = *new Start;
    return only;
}

// What else is made at its first use. In the child of a fork that comes in the midst of that it would be half
// made for ever; and the resolver's log is made of what POCO destroys at the end of the process.
void makeSingletons() {
    CallbackLock::modules();
    NetworkMonitor::getInstance();
    VLOXBase::clientExist(0);
    DNSCacheLog::getInstance();
    ConfigManager::getInstance("");
}

// Null for an unknown client.
std::shared_ptr<ConfigManager> configOf(__int64 clientId) {
    if (!VLOXBase::clientExist(clientId)) {
        return nullptr;
    }
    return ConfigManager::getInstance(VLOXBase::getUserInfo(clientId).getVloxID());
}

int copyText(char* dst, int dstLen, const std::string& text) {
    return copy_string(dst, dstLen, text.data(), static_cast<int>(text.size()));
}

}  // namespace

int initialize(SdkLogParam logParam, const char* dataDir, int deviceType) {
    if (dataDir == nullptr || deviceType < 0 || deviceType > kLastDeviceType) {
        return native::kInvalidArgument;
    }
    WindowsMutexGuard lock(start().mutex);
    if (!start().loggingStarted) {
        startLogging(logParam);
        start().loggingStarted = true;
    }
    makeSingletons();
    fillContext(dataDir, deviceType);
    VLOX_LOG(2, "SDK for windows , version :%s", kVersion);
    start().watchNetwork();
    return 0;
}

int destroySDK() {
    close_logger();
    return 0;
}

void enableBreakPad() {}

__int64 createVloxClient(const char* appId, const char* vloxId) {
    if (isEmpty(appId) || isEmpty(vloxId)) {
        return -1;
    }
    const __int64 clientId = VLOXBase::creatClient(appId, vloxId);
    setConfigStr(clientId, CONFIG_FILE_CHUNK_SIZE, "4194304");
    return clientId;
}

void loadModule(__int64 clientId, VloxModuleAbstract* module) {
    if (VLOXBase::clientExist(clientId)) {
        VLOXBase::registerModule(clientId, module);
    }
}

void unloadModule(__int64 clientId, VloxModuleAbstract* module) {
    if (VLOXBase::clientExist(clientId)) {
        const std::unique_ptr<VloxModuleAbstract> owner(module);  // goes whatever it throws
        VLOXBase::unregisterModule(clientId, module);
    }
}

int setConfigInt(__int64 clientId, _ConfigKey key, int value) {
    const auto config = configOf(clientId);
    if (config == nullptr) {
        return -1;
    }
    config->setConfig(key, value);
    return 0;
}

int setConfigStr(__int64 clientId, _ConfigKey key, const char* value) {
    const auto config = configOf(clientId);
    if (config == nullptr || isEmpty(value)) {
        return -1;
    }
    config->setConfig(key, std::string(value));
    return 0;
}

int getConfigInt(__int64 clientId, _ConfigKey key) {
    const auto config = configOf(clientId);
    return config == nullptr ? -1 : config->getConfig(key, 0);
}

int getConfigStr(__int64 clientId, _ConfigKey key, char* dst, int dstLen) {
    const auto config = configOf(clientId);
    if (config == nullptr || dst == nullptr) {
        VLOX_LOG(2, "!VLOXBase::clientExist");
        return -1;
    }
    return copyText(dst, dstLen, config->getConfig(key, ""));
}

bool getCurrentVloxId(__int64 clientId, char* dst) {
    if (dst == nullptr || !VLOXBase::clientExist(clientId)) {
        return false;
    }
    const std::string vloxId = VLOXBase::getUserInfo(clientId).getVloxID();
    vloxId.copy(dst, vloxId.size());
    return true;
}

int copy_string(char* dst, int dstLen, const char* src, int srcLen) {
    if (srcLen >= dstLen) {
        VLOX_LOG(4, "srcLen >= dstLen, %d >= %d", srcLen, dstLen);
        return -1;
    }
    if (dst == nullptr || srcLen < 0 || (src == nullptr && srcLen > 0)) {
        return -1;
    }
    std::copy_n(src, srcLen, dst);
    dst[srcLen] = '\0';
    return 0;
}

bool isEmpty(const char* text) { return text == nullptr || *text == '\0'; }

int getDataStrFromResultStr(const std::string& resultStr, std::string& data) {
    rapidjson::Document result;
    int returnCode = 0;
    if (!RapidJsonUtils::parse(resultStr, result) ||
        !RapidJsonUtils::getMemberInt(result, "returnCode", returnCode)) {
        return native::kNoJson;
    }
    if (returnCode != 0) {
        VLOX_LOG(4, "httpReqest fail returnCode=%d", returnCode);
        return returnCode;
    }
    if (!RapidJsonUtils::getMemberString(result, "data", data)) {
        VLOX_LOG(4, "httpReqest result is empty, resultStr=%s", loggedContent(resultStr).c_str());
    }
    return 0;
}

int getLatesResult(const std::map<std::string, std::string>& results, const std::string& key, char* dst,
                   int dstLen) {
    const auto place = results.find(key);
    return place == results.end() ? native::kUnknownKey : copyText(dst, dstLen, place->second);
}
