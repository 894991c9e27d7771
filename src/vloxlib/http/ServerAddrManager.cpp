#include "vloxlib/http/ServerAddrManager.h"

#include <Poco/Exception.h>
#include <Poco/URI.h>

#include "vloxlib/ConfigManager.h"
#include "vloxlib/InstancesHolder.h"
#include "vloxlib/NativeCodes.h"
#include "vloxlib/ServiceVocabulary.h"
#include "vloxlib/http/HttpHelper.h"
#include "vloxlib/http/ServiceAddresses.h"
#include "vloxlib/log/vloxLog.h"
#include "vloxlib/utility/StringUtils.h"

namespace vloxlib {

namespace {

bool holds(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

}  // namespace

InstancesHolder<ServerAddrManager>& ServerAddrManager::s_instanceHolder =
    *new InstancesHolder<ServerAddrManager>;

std::shared_ptr<ServerAddrManager> ServerAddrManager::getInstance(const UserInfo& userInfo) {
    return s_instanceHolder.getInstance(userInfo);
}

void ServerAddrManager::releaseInstance(const std::string& vloxId) {
    s_instanceHolder.releaseInstance(UserInfo("", vloxId));
}

ServerAddrManager::ServerAddrManager(const UserInfo& userInfo)
    : m_userInfo(userInfo), m_configManager(ConfigManager::getInstance(userInfo.getVloxID())) {}

ServerAddrManager::~ServerAddrManager() = default;

int ServerAddrManager::queryServerAddress() {
    const WindowsMutexGuard lock(m_mutex);
    if (m_serverAddrExist) {
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
    params.AddMember("domainName", JsonValue(host.c_str(), params.GetAllocator()), params.GetAllocator());
    const auto helper = HttpHelper::getInstance(m_userInfo);
    const bool prefixed = m_configManager->getConfig(CONFIG_URL_SERVICE_PREFIX, 1) != 0;
    const std::string url = helper->getNetworkProtocolStr() + host + ":" + port +
                            (prefixed ? "/vlox/" : "/") + URL_SERVER_ADDRESS_QUERY;
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
    m_serverAddrExist = true;
    m_condition.notifyAll();
    return 0;
}

void ServerAddrManager::setConfigForServerAddress(const JsonValue& services) {
    storeServiceAddresses(services, *m_configManager);
}

bool ServerAddrManager::isServerAddrExist(int seconds) {
    if (m_serverAddrExist) {
        return true;
    }
    const WindowsMutexGuard lock(m_mutex);
    // A query may have ended while this thread stood in front of the lock: its notification won't come again.
    return m_serverAddrExist || m_condition.timedWait(m_mutex, seconds) == 0;
}

void ServerAddrManager::setServerAddrExist() {
    const WindowsMutexGuard lock(m_mutex);
    m_serverAddrExist = true;
    m_condition.notifyOne();
}

void ServerAddrManager::setServerAddrEmpty() {
    const WindowsMutexGuard lock(m_mutex);
    m_serverAddrExist = false;
}

void ServerAddrManager::stopServerAddrExistWait() { m_condition.notifyOne(); }

bool ServerAddrManager::replaceServerAddress(_ConfigKey key, std::string& url) {
    try {
        Poco::URI uri(url);
        std::string host = uri.getHost();
        if (!replaceServerHost(key, host)) {
            return false;
        }
        uri.setHost(host);
        url = uri.toString();
        return true;
    } catch (const Poco::SyntaxException&) {
        return false;
    }
}

bool ServerAddrManager::replaceServerAddressOfConfig(_ConfigKey key, _ConfigKey, const std::string&) {
    std::string host = configText(key);
    return replaceServerHost(key, host);
}

// Where the host holds both addresses, the longer one is what it is about: the other is only a part of it.
bool ServerAddrManager::replaceServerHost(_ConfigKey key, std::string& host) {
    const std::string primary = configText(CONFIG_AS_HOST);
    const std::string alternate = configText(CONFIG_AS_HOST_ALTERNATE);
    if (primary.empty() || alternate.empty()) {
        return false;
    }
    const bool hasPrimary = holds(host, primary);
    const bool hasAlternate = holds(host, alternate);
    if (hasPrimary && (!hasAlternate || alternate.size() < primary.size())) {
        StringUtils::stringReplace(host, primary, alternate);
    } else if (hasAlternate && (!hasPrimary || primary.size() < alternate.size())) {
        StringUtils::stringReplace(host, alternate, primary);
    } else {
        return false;
    }
    if (key != CONFIG_AS_HOST) {
        m_configManager->setConfig(key, host);
    }
    return true;
}

std::string ServerAddrManager::configText(_ConfigKey key) const {
    return m_configManager->getConfig(key, std::string());
}

}  // namespace vloxlib
