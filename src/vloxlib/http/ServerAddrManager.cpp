#include "vloxlib/http/ServerAddrManager.h"

#include "vloxlib/ConfigManager.h"
#include "vloxlib/InstancesHolder.h"
#include "vloxlib/NativeCodes.h"
#include "vloxlib/ServiceVocabulary.h"
#include "vloxlib/http/AddressSwap.h"
#include "vloxlib/http/HttpHelper.h"
#include "vloxlib/http/KnownAddresses.h"
#include "vloxlib/http/ServiceAddresses.h"
#include "vloxlib/http/ServiceUrl.h"
#include "vloxlib/log/vloxLog.h"
#include "vloxlib/utility/JsonText.h"

namespace vloxlib {

InstancesHolder<ServerAddrManager>& ServerAddrManager::s_instanceHolder =
    *new InstancesHolder<ServerAddrManager>;

std::shared_ptr<ServerAddrManager> ServerAddrManager::getInstance(const UserInfo& userInfo) {
    return s_instanceHolder.getInstance(userInfo);
}

void ServerAddrManager::releaseInstance(const std::string& vloxId) {
    s_instanceHolder.releaseInstance(UserInfo("", vloxId));
    KnownAddresses::instances().releaseInstance(UserInfo("", vloxId));
}

ServerAddrManager::ServerAddrManager(const UserInfo& userInfo)
    : m_userInfo(userInfo),
      m_configManager(ConfigManager::getInstance(userInfo.getVloxID())),
      m_known(KnownAddresses::instances().getInstance(userInfo)) {}

ServerAddrManager::~ServerAddrManager() = default;

int ServerAddrManager::queryServerAddress() {
    const WindowsMutexGuard lock(m_known->mutex);
    if (m_known->exist) {
        return 0;
    }
    const std::string port = configText(CONFIG_AS_PORT);
    rapidjson::Document document;
    JsonValue services;
    int ret = queryServerAddress(configText(CONFIG_AS_HOST), port, document, services);
    if (ret != 0 || services.IsNull()) {
        const int second = queryServerAddress(configText(CONFIG_AS_HOST_ALTERNATE), port, document, services);
        ret = second == native::kInvalidArgument ? ret : second;
    }
    setConfigForServerAddress(services);
    return ret;
}

int ServerAddrManager::queryServerAddress(const std::string& host, const std::string& port,
                                          rapidjson::Document& document, JsonValue& result) {
    if (host.empty() || port.empty()) {
        VLOX_LOG(3, "server ip or port is empty");
        return native::kInvalidArgument;
    }
    rapidjson::Document params(rapidjson::kObjectType);
    addText(params, "domainName", host.c_str(), params);
    const auto helper = HttpHelper::getInstance(m_userInfo);
    const std::string url = serviceUrl(*m_configManager, host, port, URL_SERVER_ADDRESS_QUERY);
    const std::string text = helper->doSyncHttpRequest(HTTP_METHOD_GET, HTTP_BUSINESS_AS, url, params, {});
    const int code = helper->parseHttpResultString(text, document, result);
    if (code != 0) {
        VLOX_LOG(3, "get serverInfo fail. returnCode=%d", code);
        return code;
    }
    VLOX_LOG(2, "serverInfoJson=%s", RapidJsonUtils::jsonToString(result).c_str());
    if (!result.IsArray()) {
        VLOX_LOG(3, "get server info failed");
        return native::kUnknown;
    }
    m_known->exist = true;
    m_known->condition.notifyAll();
    return 0;
}

void ServerAddrManager::setConfigForServerAddress(const JsonValue& services) {
    storeServiceAddresses(services, *m_configManager);
}

bool ServerAddrManager::isServerAddrExist(int seconds) {
    if (m_known->exist) {
        return true;
    }
    const WindowsMutexGuard lock(m_known->mutex);
    // A query may have ended while this thread stood in front of the lock: its notification won't come again.
    return m_known->exist || m_known->condition.timedWait(m_known->mutex, seconds) == 0;
}

void ServerAddrManager::setServerAddrExist() {
    const WindowsMutexGuard lock(m_known->mutex);
    m_known->exist = true;
    m_known->condition.notifyOne();
}

void ServerAddrManager::setServerAddrEmpty() {
    const WindowsMutexGuard lock(m_known->mutex);
    m_known->exist = false;
}

void ServerAddrManager::stopServerAddrExistWait() { m_known->condition.notifyOne(); }

bool ServerAddrManager::replaceServerAddress(_ConfigKey key, std::string& url) {
    return swapServerAddress(*m_configManager, key, url);
}

bool ServerAddrManager::replaceServerAddressOfConfig(_ConfigKey key, _ConfigKey, const std::string&) {
    std::string host = configText(key);
    return swapServerHost(*m_configManager, key, host);
}

std::string ServerAddrManager::configText(_ConfigKey key) const {
    return m_configManager->getConfig(key, std::string());
}

}  // namespace vloxlib
