#include "vloxlib/http/HttpHelper.h"

#include <utility>

#include "vloxlib/ConfigManager.h"
#include "vloxlib/Context.h"
#include "vloxlib/InstancesHolder.h"
#include "vloxlib/NativeCodes.h"
#include "vloxlib/ServiceVocabulary.h"
#include "vloxlib/dnscachehelper/DnsCacheHelper.h"
#include "vloxlib/encrypt/EncryptBridge.h"
#include "vloxlib/http/AddressSwap.h"
#include "vloxlib/http/CurlExchange.h"
#include "vloxlib/http/KnownAddresses.h"
#include "vloxlib/http/LoginToken.h"
#include "vloxlib/http/OtherZone.h"
#include "vloxlib/http/RootBundleFile.h"
#include "vloxlib/http/ServiceAttempt.h"
#include "vloxlib/http/ServiceEnvelope.h"
#include "vloxlib/http/ServiceUrl.h"
#include "vloxlib/http/UrlPlaceholders.h"
#include "vloxlib/log/vloxLog.h"
#include "vloxlib/utility/JsonText.h"
#include "vloxlib/utility/LoggedContent.h"

namespace vloxlib {

namespace {

constexpr int kDefaultTimeout = 15;

}  // namespace

struct HttpHelper::Call {
    HTTPMethod method;
    HTTPBusinessType businessType;
    const std::string& url;
    const HeadParams& headParams;
    int timeout;
    ExchangeOutcome* outcome;  // may be null
};

InstancesHolder<HttpHelper>& HttpHelper::s_instanceHolder = *new InstancesHolder<HttpHelper>;

std::shared_ptr<HttpHelper> HttpHelper::getInstance(const UserInfo& userInfo) {
    return s_instanceHolder.getInstance(userInfo);
}

void HttpHelper::releaseInstance(const std::string& vloxId) {
    s_instanceHolder.releaseInstance(UserInfo("", vloxId));
}

HttpHelper::HttpHelper(const UserInfo& userInfo)
    : m_configManager(ConfigManager::getInstance(userInfo.getVloxID())),
      m_encrypt(EncryptBridge::getInstance(userInfo.getVloxID())),
      m_knownAddresses(KnownAddresses::instances().getInstance(userInfo)),
      m_userInfo(userInfo),
      m_token(std::make_unique<LoginToken>()) {
    DnsCacheHelper::getInstance().initDNSCache();
    initialLibcurl();
}

HttpHelper::~HttpHelper() = default;

void HttpHelper::setLoginInfo(const LoginInfo& loginInfo) { m_token->set(loginInfo); }

std::string HttpHelper::getToken() { return m_token->textFor(m_userInfo); }

std::string HttpHelper::doSyncHttpRequest(HTTPMethod method, HTTPBusinessType businessType,
                                          const std::string& url, const std::string& paramsJsonStr) {
    return doSyncHttpRequest(method, businessType, url, HeadParams(), paramsJsonStr, kDefaultTimeout);
}

std::string HttpHelper::doSyncHttpRequest(HTTPMethod method, HTTPBusinessType businessType,
                                          const std::string& url, const std::string& paramsJsonStr,
                                          int timeout) {
    return doSyncHttpRequest(method, businessType, url, HeadParams(), paramsJsonStr, timeout);
}

std::string HttpHelper::doSyncHttpRequest(HTTPMethod method, HTTPBusinessType businessType,
                                          const std::string& url, const JsonValue& params,
                                          const HeadParams& headParams) {
    return doSyncHttpRequest(method, businessType, url, params, headParams, kDefaultTimeout);
}

std::string HttpHelper::doSyncHttpRequest(HTTPMethod method, HTTPBusinessType businessType,
                                          const std::string& url, const HeadParams& headParams,
                                          const std::string& paramsJsonStr) {
    return doSyncHttpRequest(method, businessType, url, headParams, paramsJsonStr, kDefaultTimeout);
}

std::string HttpHelper::doSyncHttpRequest(HTTPMethod method, HTTPBusinessType businessType,
                                          const std::string& url, const HeadParams& headParams,
                                          const std::string& paramsJsonStr, int timeout) {
    return requestWithText({method, businessType, url, headParams, timeout, nullptr}, paramsJsonStr);
}

std::string HttpHelper::doSyncHttpRequest(HTTPMethod method, HTTPBusinessType businessType,
                                          const std::string& url, const HeadParams& headParams,
                                          const std::string& paramsJsonStr, int timeout,
                                          ExchangeOutcome& outcome) {
    outcome = ExchangeOutcome();
    return requestWithText({method, businessType, url, headParams, timeout, &outcome}, paramsJsonStr);
}

std::string HttpHelper::requestWithText(const Call& call, const std::string& paramsJsonStr) {
    ScratchDocument scratch;
    rapidjson::Document& params = scratch.json;
    if (!RapidJsonUtils::parse(paramsJsonStr, params)) {
        VLOX_LOG(3, "json parse error. paramsJsonStr=%s", loggedContent(paramsJsonStr).c_str());
        return "";
    }
    return requestWithToken(call, params, params);
}

std::string HttpHelper::doSyncHttpRequest(HTTPMethod method, HTTPBusinessType businessType,
                                          const std::string& url, const JsonValue& params,
                                          const HeadParams& headParams, int timeout) {
    ScratchDocument scratch;
    JsonValue copy(params, scratch.pool);
    return requestWithToken({method, businessType, url, headParams, timeout, nullptr}, copy, scratch.json);
}

std::string HttpHelper::requestWithToken(const Call& call, JsonValue& params, rapidjson::Document& document) {
    if (call.url.empty()) {
        VLOX_LOG(3, "url is empty");
        return "";
    }
    std::string head = filledUrl(call.url, call.headParams);
    if (head.empty()) {
        return "";
    }
    if (!params.IsObject()) {  // the token would have no place
        VLOX_LOG(3, "params is no json object");
        return "";
    }
    addText(params, PARA_TOKEN, getToken(), document);
    JsonValue result;
    const ServiceAttempt attempt{*m_configManager, m_userInfo, call.method, call.timeout,
                                 params,           result,     document,    call.outcome};
    std::string base = call.url;
    int ret = requestOwnZone(attempt, head);
    if ((ret == native::kNotResolved || ret == native::kTimedOut) &&
        swapServerAddress(*m_configManager, call.businessType, head)) {
        ret = requestOwnZone(attempt, head);
        base = head;
    }
    if (ret == native::kOtherZone) {
        requestOtherZone(attempt, base);
    }
    if (result.IsNull()) {
        VLOX_LOG(4, "resultValue is empty");
        return "";
    }
    return RapidJsonUtils::jsonToString(result);
}

int HttpHelper::requestOwnZone(const ServiceAttempt& attempt, const std::string& url) {
    return attempt.run(url, m_encrypt.get(), m_configManager->getConfig(CONFIG_ENCRYPT_POLICY, 0));
}

// The zone's answer stands in the result; that it names a further zone isn't followed.
void HttpHelper::requestOtherZone(const ServiceAttempt& attempt, const std::string& base) {
    const auto symType =
        static_cast<SYM_ENCRYPT_TYPE>(m_configManager->getConfig(CONFIG_SYM_ENCRYPT_TYPE, 0));
    ServerInfo zone;
    if (const std::shared_ptr<EncryptBridge> bridge = bridgeToNamedZone(attempt.result, symType, zone)) {
        const bool https = getWebRequestMode() != SECURITY_POLICY_PLAIN;
        attempt.run(urlInZone(base, zone, https), bridge.get(), zone.asymEncryptType);
    } else {
        appendResult(native::kNoZone, "", attempt.result, attempt.document);
    }
}

std::shared_ptr<EncryptBridge> HttpHelper::generateEncryptBridge(SYM_ENCRYPT_TYPE symType,
                                                                 const std::string& encryptInfo,
                                                                 ServerInfo& serverInfo) {
    return bridgeToZone(symType, encryptInfo, serverInfo);
}

int HttpHelper::loadCaCertificateContent() {
    const std::string dataDir = Context::getInstance()->getContext(CONTEXT_DATA_DIR, std::string("./"));
    return writeRootBundle(dataDir, *m_configManager);
}

int HttpHelper::handleHttpBody(const std::string& body, JsonValue& result, rapidjson::Document& document) {
    return handleHttpBody(body, m_encrypt, result, document);
}

int HttpHelper::handleHttpBody(const std::string& body, std::shared_ptr<EncryptBridge> bridge,
                               JsonValue& result, rapidjson::Document& document) {
    return readServiceReply("other", 0, body, bridge.get(), result, document);
}

int HttpHelper::parseHttpResultString(const std::string& resultStr, rapidjson::Document& document,
                                      JsonValue& dataValue) {
    return readServiceResult(resultStr, document, dataValue);
}

std::string HttpHelper::generateHttpParam(const std::string& text) {
    return encryptedText(m_encrypt.get(), text);
}

std::string HttpHelper::generateHttpParam(std::shared_ptr<EncryptBridge> bridge, const std::string& text) {
    return encryptedText(bridge.get(), text);
}

std::string HttpHelper::generateHttpHeaderParam(const std::string& text) {
    return encryptedHeader(m_encrypt.get(), text);
}

std::string HttpHelper::generateHttpHeaderParam(std::shared_ptr<EncryptBridge> bridge,
                                                const std::string& text) {
    return encryptedHeader(bridge.get(), text);
}

std::string HttpHelper::getCommonHttpBusinessTypeFullUrl(const std::string& path) {
    const std::string host = configText(CONFIG_AS_HOST);
    const std::string port = configText(CONFIG_AS_PORT);
    if (host.empty() || port.empty()) {
        VLOX_LOG(3, "server info is empty");
        return "";
    }
    return serviceUrl(*m_configManager, host, port, path);
}

std::string HttpHelper::getNetworkProtocolStr() const { return serviceScheme(*m_configManager); }

SecurityPolicy HttpHelper::getWebRequestMode() const {
    return static_cast<SecurityPolicy>(m_configManager->getConfig(CONFIG_WEB_REQUEST_MODE, 0));
}

bool HttpHelper::getVerifyHost() const { return m_configManager->getConfig(CONFIG_VERIFY_HOST, 1) != 0; }

std::string HttpHelper::getCACertificatePath() const { return configText(CONFIG_CA_CERT_PATH); }

std::string HttpHelper::getCACertificateContent() const { return configText(CONFIG_CA_CERT_CONTENT); }

std::string HttpHelper::getClientCertificatePath() const { return configText(CONFIG_CLIENT_CERT_PATH); }

std::string HttpHelper::getClientCertificateContent() const { return configText(CONFIG_CLIENT_CERT_CONTENT); }

std::string HttpHelper::getKeyPassword() const { return configText(CONFIG_KEY_PASSWORD); }

std::string HttpHelper::configText(_ConfigKey key) const {
    return m_configManager->getConfig(key, std::string());
}

}  // namespace vloxlib
