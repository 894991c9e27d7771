#include "vloxlib/http/HttpHelper.h"

#include <utility>

#include "vloxlib/ConfigManager.h"
#include "vloxlib/Context.h"
#include "vloxlib/InstancesHolder.h"
#include "vloxlib/NativeCodes.h"
#include "vloxlib/ServiceVocabulary.h"
#include "vloxlib/dnscachehelper/DnsCacheHelper.h"
#include "vloxlib/encrypt/Base64.h"
#include "vloxlib/encrypt/EncryptBridge.h"
#include "vloxlib/http/CurlExchange.h"
#include "vloxlib/http/HttpClient.h"
#include "vloxlib/http/OtherZone.h"
#include "vloxlib/http/RootBundleFile.h"
#include "vloxlib/http/ServerAddrManager.h"
#include "vloxlib/http/ServiceEnvelope.h"
#include "vloxlib/http/UrlPlaceholders.h"
#include "vloxlib/log/vloxLog.h"

namespace vloxlib {

namespace {

constexpr int kDefaultTimeout = 15;
constexpr int kDefaultReplyLimit = 64 << 20;  // bytes

}  // namespace

struct HttpHelper::Request {
    HTTPMethod method;
    int timeout;
    const JsonValue& params;
    JsonValue& result;
    rapidjson::Document& document;
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
      m_serverAddrManager(ServerAddrManager::getInstance(userInfo)),
      m_userInfo(userInfo) {
    DnsCacheHelper::getInstance().initDNSCache();
    initialLibcurl();
}

HttpHelper::~HttpHelper() = default;

void HttpHelper::setLoginInfo(const LoginInfo& loginInfo) {
    const std::lock_guard<std::mutex> lock(m_loginMutex);
    m_loginInfo = loginInfo;
}

std::string HttpHelper::getToken() {
    const std::lock_guard<std::mutex> lock(m_loginMutex);
    const std::string& signature = m_loginInfo.getServerSignature();
    if (!signature.empty() && signature != m_signature) {
        m_signature = signature;
        rapidjson::Document login(rapidjson::kObjectType);
        addText(login, PARA_APP_ID, m_userInfo.getAppID(), login);
        addText(login, PARA_VLOXID, m_userInfo.getVloxID(), login);
        addText(login, PARA_SIGNATURE, signature, login);
        addText(login, PARA_EXP_TIME, std::to_string(m_loginInfo.getExpTime()), login);
        addText(login, PARA_CREATION_TIME, std::to_string(m_loginInfo.getCreateTime()), login);
        m_token = Base64::encode(RapidJsonUtils::jsonToString(login));
    }
    if (m_token.empty()) {
        VLOX_LOG(3, "m_token is empty");
    }
    return m_token;
}

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
    ScratchDocument scratch;
    rapidjson::Document& params = scratch.json;
    if (!RapidJsonUtils::parse(paramsJsonStr, params)) {
        VLOX_LOG(3, "json parse error. paramsJsonStr=%s", paramsJsonStr.c_str());
        return "";
    }
    return requestWithToken(method, businessType, url, headParams, timeout, params, params);
}

std::string HttpHelper::doSyncHttpRequest(HTTPMethod method, HTTPBusinessType businessType,
                                          const std::string& url, const JsonValue& params,
                                          const HeadParams& headParams, int timeout) {
    ScratchDocument scratch;
    JsonValue copy(params, scratch.pool);
    return requestWithToken(method, businessType, url, headParams, timeout, copy, scratch.json);
}

std::string HttpHelper::requestWithToken(HTTPMethod method, HTTPBusinessType businessType,
                                         const std::string& url, const HeadParams& headParams, int timeout,
                                         JsonValue& params, rapidjson::Document& document) {
    if (url.empty()) {
        VLOX_LOG(3, "url is empty");
        return "";
    }
    std::string head = filledUrl(url, headParams);
    if (head.empty()) {
        return "";
    }
    if (!params.IsObject()) {  // the token would have no place
        VLOX_LOG(3, "params is no json object");
        return "";
    }
    addText(params, PARA_TOKEN, getToken(), document);
    JsonValue result;
    const Request request{method, timeout, params, result, document};
    std::string base = url;
    int ret = requestOwnZone(request, head);
    if ((ret == native::kNotResolved || ret == native::kTimedOut) &&
        replaceServerAddress(businessType, head)) {
        ret = requestOwnZone(request, head);
        base = head;
    }
    if (ret == native::kOtherZone) {
        requestOtherZone(request, base);
    }
    if (result.IsNull()) {
        VLOX_LOG(4, "resultValue is empty");
        return "";
    }
    return RapidJsonUtils::jsonToString(result);
}

bool HttpHelper::replaceServerAddress(HTTPBusinessType businessType, std::string& url) {
    switch (businessType) {
        case HTTP_BUSINESS_AS:
            return m_serverAddrManager->replaceServerAddress(CONFIG_AS_HOST, url);
        case HTTP_BUSINESS_FS:
            return m_serverAddrManager->replaceServerAddress(CONFIG_FS_HOST, url);
        case HTTP_BUSINESS_CDS:
            return m_serverAddrManager->replaceServerAddress(CONFIG_CDS_HOST, url);
        case HTTP_BUSINESS_TOPIC:
            return m_serverAddrManager->replaceServerAddress(CONFIG_TOPIC_HOST, url);
        case HTTP_BUSINESS_BLS:
            return m_serverAddrManager->replaceServerAddress(CONFIG_BLS_HOST, url);
    }
    return false;
}

int HttpHelper::requestOwnZone(const Request& request, const std::string& url) {
    return httpRequestEncryptData(request, url, m_encrypt,
                                  m_configManager->getConfig(CONFIG_ENCRYPT_POLICY, 0));
}

// The zone's answer stands in the result; that it names a further zone isn't followed.
void HttpHelper::requestOtherZone(const Request& request, const std::string& base) {
    ServerInfo serverInfo;
    const std::shared_ptr<EncryptBridge> bridge = bridgeToOtherZone(request.result, serverInfo);
    if (bridge) {
        const bool https = getWebRequestMode() != SECURITY_POLICY_PLAIN;
        httpRequestEncryptData(request, urlInZone(base, serverInfo, https), bridge,
                               serverInfo.asymEncryptType);
    } else {
        appendResult(native::kNoZone, "", request.result, request.document);
    }
}

std::shared_ptr<EncryptBridge> HttpHelper::bridgeToOtherZone(const JsonValue& result,
                                                             ServerInfo& serverInfo) const {
    std::string zone;
    if (!RapidJsonUtils::getMemberString(result, PARA_DATA, zone)) {
        VLOX_LOG(4, "json error");
        return nullptr;
    }
    const int symType = m_configManager->getConfig(CONFIG_SYM_ENCRYPT_TYPE, 0);
    auto bridge = generateEncryptBridge(static_cast<SYM_ENCRYPT_TYPE>(symType), zone, serverInfo);
    if (!bridge) {
        VLOX_LOG(4, "encryptBridge is null");
    } else if (bridge->getSecretKeyBase64().empty()) {
        VLOX_LOG(4, "no session key for the other zone");
        bridge.reset();
    }
    return bridge;
}

std::shared_ptr<EncryptBridge> HttpHelper::generateEncryptBridge(SYM_ENCRYPT_TYPE symType,
                                                                 const std::string& encryptInfo,
                                                                 ServerInfo& serverInfo) {
    return bridgeToZone(symType, encryptInfo, serverInfo);
}

int HttpHelper::httpRequestEncryptData(const Request& request, const std::string& url,
                                       const std::shared_ptr<EncryptBridge>& bridge, int asymType) {
    const std::string text = RapidJsonUtils::jsonToString(request.params);
    std::string encrypted = encryptedText(bridge.get(), text);
    HttpClient client;
    client.setReplyLimit(m_configManager->getConfig(CONFIG_REPLY_LIMIT, kDefaultReplyLimit));
    secure(client, url);
    VLOX_LOG(1, "httpMode=%d,url=%s, param=%s", request.method, url.c_str(), text.c_str());
    creatHttpRequest(request.method, client, url);
    if (!bridge) {
        VLOX_LOG(4, "m_encrypt is not been set");
        return 0;
    }
    if (encrypted.empty()) {  // not even of "{}"
        VLOX_LOG(4, "nothing is sent without a session key");
        return 0;
    }
    for (ServiceField& field :
         serviceFields(m_userInfo.getAppID(), *bridge, asymType, std::move(encrypted))) {
        client.addParam(field.first, std::move(field.second));
    }
    if (m_configManager->getConfig(CONFIG_REQUEST_ENVELOPE_MODE, 0) == 1) {
        const int deviceType = Context::getInstance()->getContext(CONTEXT_DEVICE_TYPE, 0);
        client.addHeader(PARA_CUSTOM_HEADER_PARAMS,
                         encryptedHeader(bridge.get(), senderText(deviceType, m_userInfo.getVloxID())));
    }
    const int code = client.performSync(std::make_shared<QosParams>(serviceLimits(request.timeout)), nullptr);
    return readServiceReply("doSyncHttpRequest", code, client.getResultData(), bridge.get(), request.result,
                            request.document);
}

void HttpHelper::secure(HttpClient& client, const std::string& url) const {
    if (url.find("http://") != std::string::npos) {
        client.setSecurityPolicy(SECURITY_POLICY_PLAIN);  // under which none of the settings below is read
        return;
    }
    client.setSecurityPolicy(getWebRequestMode());
    client.setCAPath(getCACertificatePath());
    client.setCAContent(getCACertificateContent());
    client.setClientCertPath(getClientCertificatePath());
    client.setClientCertContent(getClientCertificateContent());
    client.setKeyPassword(getKeyPassword());
    client.setVerifyHost(getVerifyHost());
}

int HttpHelper::loadCaCertificateContent() {
    const std::string dataDir = Context::getInstance()->getContext(CONTEXT_DATA_DIR, std::string("./"));
    return writeRootBundle(dataDir, *m_configManager);
}

int HttpHelper::creatHttpRequest(HTTPMethod method, HttpClient& client, const std::string& url) {
    switch (method) {
        case HTTP_METHOD_GET:
            return client.createGetRequest(url);
        case HTTP_METHOD_POST:
            return client.createPostRequest(url);
        case HTTP_METHOD_PUT:
            return client.createPutRequest(url);
        case HTTP_METHOD_DELETE:
            return client.createDeleteRequest(url);
    }
    VLOX_LOG(3, "unsupport http method. httpMethod=%d", method);
    return -1;
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
    const bool prefixed = m_configManager->getConfig(CONFIG_URL_SERVICE_PREFIX, 1) != 0;
    return getNetworkProtocolStr() + host + ":" + port + (prefixed ? "/vlox/" : "/") + path;
}

std::string HttpHelper::getNetworkProtocolStr() const {
    return getWebRequestMode() == SECURITY_POLICY_PLAIN ? "http://" : "https://";
}

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
