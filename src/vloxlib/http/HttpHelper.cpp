#include "vloxlib/http/HttpHelper.h"

#include <curl/curl.h>

#include <algorithm>
#include <cstddef>
#include <utility>

#include "vloxlib/ConfigManager.h"
#include "vloxlib/Context.h"
#include "vloxlib/ErrorCodes.h"
#include "vloxlib/InstancesHolder.h"
#include "vloxlib/ServiceVocabulary.h"
#include "vloxlib/dnscachehelper/DnsCacheHelper.h"
#include "vloxlib/encrypt/Base64.h"
#include "vloxlib/encrypt/EncryptBridge.h"
#include "vloxlib/encrypt/MD5.h"
#include "vloxlib/http/HttpClient.h"
#include "vloxlib/http/RootCertificates.h"
#include "vloxlib/http/ServerAddrManager.h"
#include "vloxlib/http/UrlPlaceholders.h"
#include "vloxlib/log/vloxLog.h"
#include "vloxlib/utility/FileUtil.h"

namespace vloxlib {

namespace {

constexpr int kDefaultTimeout = 15;
constexpr int kLongestConnect = 10;
constexpr int kNoJson = -112;
constexpr int kNoCode = -116;
constexpr int kNoDirectory = -110;
constexpr int kNotWritten = -105;
constexpr int kOtherZone = 10016;
constexpr int kOtherZoneNative = -829;
constexpr int kNoZone = -104;
constexpr int kNotResolved = -806;
constexpr int kTimedOut = -828;

void initialLibcurl() {
    static std::once_flag once;
    std::call_once(once, [] {
        curl_global_init(CURL_GLOBAL_ALL);
        const curl_version_info_data* const info = curl_version_info(CURLVERSION_NOW);
        VLOX_LOG(2, "libcurl version is : %s, and version num is : %d", info->version,
                 static_cast<int>(info->version_num));
    });
}

// What a usual request or reply needs without asking for memory: the default pool begins with 64 KiB of it.
struct ScratchDocument {
    alignas(std::max_align_t) char memory[2048];
    rapidjson::MemoryPoolAllocator<> pool{memory, sizeof memory};
    rapidjson::Document json{&pool};
};

void addText(JsonValue& object, const char* name, const std::string& text, rapidjson::Document& document) {
    JsonValue value(text.data(), static_cast<rapidjson::SizeType>(text.size()), document.GetAllocator());
    object.AddMember(rapidjson::StringRef(name), value, document.GetAllocator());
}

// A `data` of another type counts as absent.
const JsonValue* dataOf(const JsonValue& object) {
    const auto member = object.FindMember(PARA_DATA);
    return member != object.MemberEnd() && member->value.IsString() ? &member->value : nullptr;
}

std::string decrypted(const JsonValue& data, const std::shared_ptr<EncryptBridge>& bridge) {
    const std::string cipher = Base64::decode(data.GetString(), static_cast<int>(data.GetStringLength()));
    return bridge ? bridge->decryptData(cipher) : cipher;
}

}  // namespace

struct HttpHelper::Request {
    HTTPMethod method;
    int timeout;
    const JsonValue& params;
    JsonValue& result;
    rapidjson::Document& document;
};

InstancesHolder<HttpHelper> HttpHelper::s_instanceHolder;

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
    std::string head = generateUrlHead(url, headParams);
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
    if ((ret == kNotResolved || ret == kTimedOut) && replaceServerAddress(businessType, head)) {
        ret = requestOwnZone(request, head);
        base = head;
    }
    if (ret == kOtherZoneNative) {
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
        httpRequestEncryptData(request, generateCrossDomainUrl(base, serverInfo), bridge,
                               serverInfo.asymEncryptType);
    } else {
        request.result.AddMember(rapidjson::StringRef(PARA_RETURN_CODE), kNoZone,
                                 request.document.GetAllocator());
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
    }
    return bridge;
}

std::shared_ptr<EncryptBridge> HttpHelper::generateEncryptBridge(SYM_ENCRYPT_TYPE symType,
                                                                 const std::string& encryptInfo,
                                                                 ServerInfo& serverInfo) {
    rapidjson::Document zone;
    std::string publicKey;
    std::string parameters;
    int asymType = 0;
    if (!RapidJsonUtils::parse(encryptInfo, zone) ||
        !RapidJsonUtils::getMemberString(zone, "otherZonePublicKey", publicKey) ||
        !RapidJsonUtils::getMemberString(zone, "otherZoneIbcPubParam", parameters) ||
        !RapidJsonUtils::getMemberInt(zone, "otherZoneAsymmetricCryptoType", asymType)) {
        VLOX_LOG(4, "json parse error, encryptInfo=%s", encryptInfo.c_str());
        return nullptr;
    }
    serverInfo.asymEncryptType = static_cast<ASYM_ENCRYPT_TYPE>(asymType);
    // Both land in the one field: a zone that has an address for TLS is reached there.
    RapidJsonUtils::getMemberString(zone, "otherZoneHttpPublicAddress", serverInfo.httpAddress);
    RapidJsonUtils::getMemberString(zone, "otherZoneHttpsPublicAddress", serverInfo.httpAddress);
    return std::make_shared<EncryptBridge>(symType, serverInfo.asymEncryptType, publicKey, parameters);
}

// The other zone's address in front of the URL's path. Ten characters reach from the scheme into the host.
std::string HttpHelper::generateCrossDomainUrl(std::string url, const ServerInfo& serverInfo) const {
    const bool both = !serverInfo.httpAddress.empty() && !serverInfo.httpsAddress.empty();
    const bool https = both ? getWebRequestMode() != SECURITY_POLICY_PLAIN : serverInfo.httpAddress.empty();
    url.replace(0, 10, "a");
    const std::size_t path = std::min(url.find('/'), url.size());
    std::string crossUrl = (https ? serverInfo.httpsAddress : serverInfo.httpAddress) + url.substr(path);
    VLOX_LOG(2, "urlStr=%s", crossUrl.c_str());
    return crossUrl;
}

std::string HttpHelper::generateUrlHead(std::string url, const HeadParams& headParams) {
    if (!headParams.empty() && replaceUrlByHeadParams(url, headParams) != 0) {
        VLOX_LOG(3, "headParams should use all");
        return "";
    }
    if (url.find('$') != std::string::npos) {
        VLOX_LOG(3, "headUrl should replace all");
        return "";
    }
    return url;
}

int HttpHelper::httpRequestEncryptData(const Request& request, const std::string& url,
                                       const std::shared_ptr<EncryptBridge>& bridge, int asymType) {
    const std::string text = RapidJsonUtils::jsonToString(request.params);
    const std::string encrypted = generateHttpParam(bridge, text);
    HttpClient client;
    secure(client, url);
    VLOX_LOG(1, "httpMode=%d,url=%s, param=%s", request.method, url.c_str(), text.c_str());
    creatHttpRequest(request.method, client, url);
    if (!bridge) {
        VLOX_LOG(4, "m_encrypt is not been set");
        return 0;
    }
    addFields(client, *bridge, asymType, encrypted);
    addCustomHeader(client, bridge);
    auto qos = std::make_shared<QosParams>();
    qos->timeout = request.timeout;
    qos->connectTimeout = std::min(request.timeout, kLongestConnect);
    const int curlRet = client.performSync(std::move(qos), nullptr);
    return handleHttpBody("doSyncHttpRequest", curlRet, client.getResultData(), bridge, request.result,
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

// Writes the built-in roots into the data directory, for those who want them as a file, unless they stand
// there.
int HttpHelper::loadCaCertificateContent() {
    const std::string content = builtInRootCertificates();
    const std::string caDir =
        Context::getInstance()->getContext(CONTEXT_DATA_DIR, std::string("./")) + "/certificate";
    if (FileUtil::isExist(caDir) != 0) {
        VLOX_LOG(2, "caDir is not exist");
        const int result = FileUtil::createDir(caDir);
        if (result != 0) {
            VLOX_LOG(4, "create caDir failed. result=%d", result);
            return kNoDirectory;
        }
    }
    const std::string caPath = caDir + "/cacert.pem";
    const std::string oldMd5 = FileUtil::isExist(caPath) == 0 ? MD5::md5File(caPath) : "";
    if (oldMd5 == MD5::md5(content)) {
        m_configManager->setConfig(CONFIG_CA_FILE_PATH, caPath);
        VLOX_LOG(2, "caMd5 match success, no need update");
        return 0;
    }
    const int result = FileUtil::writeFileContent(caPath, content);
    if (result != 0) {
        VLOX_LOG(4, "write CA content failed. result=%d", result);
        return kNotWritten;
    }
    m_configManager->setConfig(CONFIG_CA_FILE_PATH, caPath);
    VLOX_LOG(2, "ca update success. path=%s", caPath.c_str());
    return 0;
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

void HttpHelper::addFields(HttpClient& client, EncryptBridge& bridge, int asymType,
                           const std::string& encryptedParams) const {
    if (asymType != 0) {
        client.addParam(PARA_APP_ID, m_userInfo.getAppID());
        client.addParam(PARM_CRYPTO_ALG, bridge.getCryptoTypeStr());
        client.addParam(PARA_SECRET_KEY, bridge.getSecretKeyBase64());
        client.addParam(PARA_VERSION, "1");
    }
    client.addParam(PARA_PARAMS, encryptedParams);
}

void HttpHelper::addCustomHeader(HttpClient& client, const std::shared_ptr<EncryptBridge>& bridge) const {
    if (m_configManager->getConfig(CONFIG_REQUEST_ENVELOPE_MODE, 0) != 1) {
        return;
    }
    ScratchDocument scratch;
    rapidjson::Document& sender = scratch.json;
    sender.SetObject();
    const int deviceType = Context::getInstance()->getContext(CONTEXT_DEVICE_TYPE, 0);
    sender.AddMember(rapidjson::StringRef(PARA_DEVICE_TYPE), deviceType, sender.GetAllocator());
    addText(sender, PARA_VLOXID, m_userInfo.getVloxID(), sender);
    client.addHeader(PARA_CUSTOM_HEADER_PARAMS,
                     generateHttpHeaderParam(bridge, RapidJsonUtils::jsonToString(sender)));
}

int HttpHelper::handleHttpBody(const std::string& body, JsonValue& result, rapidjson::Document& document) {
    return handleHttpBody(body, m_encrypt, result, document);
}

int HttpHelper::handleHttpBody(const std::string& body, std::shared_ptr<EncryptBridge> bridge,
                               JsonValue& result, rapidjson::Document& document) {
    return handleHttpBody("other", 0, body, bridge, result, document);
}

int HttpHelper::handleHttpBody(const char* methodName, int curlRet, const std::string& body,
                               const std::shared_ptr<EncryptBridge>& bridge, JsonValue& result,
                               rapidjson::Document& document) {
    if (curlRet != 0) {
        VLOX_LOG(3, "curl error. methodName=%s,curlReturnCode=%d", methodName, curlRet);
        return getHttpRequestResult(curlRet, body, result, document);
    }
    ScratchDocument scratch;
    rapidjson::Document& envelope = scratch.json;
    if (!RapidJsonUtils::parse(body, envelope)) {
        VLOX_LOG(3, "http body json parse error. methodName=%s, body=%s", methodName, body.c_str());
        return getHttpRequestResult(kNoJson, body, result, document);
    }
    std::string codeText;
    if (!RapidJsonUtils::getMemberString(envelope, PARA_CODE, codeText)) {
        VLOX_LOG(3, "http body no code. methodName=%s, body=%s", methodName, body.c_str());
        return getHttpRequestResult(kNoCode, body, result, document);
    }
    const int code = convertInternalErrorCode(codeText);
    std::string bid;
    if (RapidJsonUtils::getMemberString(envelope, PARA_BID, bid)) {
        VLOX_LOG(2, "field bid=%s", bid.c_str());
    }
    if (code != 0 && code != kOtherZone) {
        std::string desc;
        RapidJsonUtils::getMemberString(envelope, PARA_DESC, desc);
        VLOX_LOG(3, "methodName=%s,returnCode=%d,desc=%s", methodName, code, desc.c_str());
        return getHttpRequestResult(code, body, result, document);
    }
    const JsonValue* const data = dataOf(envelope);
    if (!data) {
        VLOX_LOG(2, "http result has no data");
        return getHttpRequestResult(code, "", result, document);
    }
    const bool empty = data->GetStringLength() == 0;
    return getHttpRequestResult(code, empty ? "" : decrypted(*data, bridge), result, document);
}

// Appends, also behind the members of an earlier attempt: who looks a member up finds the first one's.
int HttpHelper::getHttpRequestResult(int code, const std::string& data, JsonValue& result,
                                     rapidjson::Document& document) {
    if (!result.IsObject()) {
        result.SetObject();
    }
    if (!data.empty()) {
        addText(result, PARA_DATA, data, document);
    }
    const int native = wireCodeToNative(code);
    result.AddMember(rapidjson::StringRef(PARA_RETURN_CODE), native, document.GetAllocator());
    return native;
}

int HttpHelper::parseHttpResultString(const std::string& resultStr, rapidjson::Document& document,
                                      JsonValue& dataValue) {
    if (!RapidJsonUtils::parse(resultStr, document)) {
        VLOX_LOG(3, "json parse fail, resultStr:%s", resultStr.c_str());
        return kNoJson;
    }
    int returnCode = 0;
    if (!RapidJsonUtils::getMemberInt(document, PARA_RETURN_CODE, returnCode)) {
        VLOX_LOG(3, "data format illegal");
        return kNoCode;
    }
    if (const JsonValue* const data = dataOf(document)) {
        const std::string dataStr(data->GetString(), data->GetStringLength());
        if (!RapidJsonUtils::parse(dataStr, document)) {
            VLOX_LOG(3, "json parse fail, dataStr:%s", dataStr.c_str());
            return kNoJson;
        }
        dataValue.CopyFrom(document, document.GetAllocator());
    }
    return returnCode;
}

std::string HttpHelper::generateHttpParam(const std::string& text) {
    return generateHttpParam(m_encrypt, text);
}

std::string HttpHelper::generateHttpParam(std::shared_ptr<EncryptBridge> bridge, const std::string& text) {
    if (!bridge) {
        VLOX_LOG(3, "m_encrypt is not been set");
        return "";
    }
    return Base64::encode(bridge->encryptData(text));
}

std::string HttpHelper::generateHttpHeaderParam(const std::string& text) {
    return generateHttpHeaderParam(m_encrypt, text);
}

std::string HttpHelper::generateHttpHeaderParam(std::shared_ptr<EncryptBridge> bridge,
                                                const std::string& text) {
    if (!bridge) {
        VLOX_LOG(3, "m_encrypt is not been set");
        return "";
    }
    return Base64::encode(bridge->symmetricEncryptContentBySpecialSecretKey(text));
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
