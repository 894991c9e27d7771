#include "vloxlib/http/ServiceAttempt.h"

#include <memory>
#include <utility>

#include "vloxlib/ConfigManager.h"
#include "vloxlib/Context.h"
#include "vloxlib/ServiceVocabulary.h"
#include "vloxlib/UserInfo.h"
#include "vloxlib/encrypt/EncryptBridge.h"
#include "vloxlib/http/HttpClient.h"
#include "vloxlib/http/ServiceEnvelope.h"
#include "vloxlib/log/vloxLog.h"

namespace vloxlib {

namespace {

constexpr int kDefaultReplyLimit = 64 << 20;  // bytes

int createRequest(HttpClient& client, HTTPMethod method, const std::string& url) {
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

// Under "http://" none of the other settings is read.
void secure(HttpClient& client, const std::string& url, const ConfigManager& config) {
    if (url.find("http://") != std::string::npos) {
        client.setSecurityPolicy(SECURITY_POLICY_PLAIN);
        return;
    }
    const auto text = [&](_ConfigKey key) { return config.getConfig(key, std::string()); };
    client.setSecurityPolicy(static_cast<SecurityPolicy>(config.getConfig(CONFIG_WEB_REQUEST_MODE, 0)));
    client.setCAPath(text(CONFIG_CA_CERT_PATH));
    client.setCAContent(text(CONFIG_CA_CERT_CONTENT));
    client.setClientCertPath(text(CONFIG_CLIENT_CERT_PATH));
    client.setClientCertContent(text(CONFIG_CLIENT_CERT_CONTENT));
    client.setKeyPassword(text(CONFIG_KEY_PASSWORD));
    client.setVerifyHost(config.getConfig(CONFIG_VERIFY_HOST, 1) != 0);
}

}  // namespace

int ServiceAttempt::run(const std::string& url, EncryptBridge* bridge, int asymType) const {
    const std::string text = RapidJsonUtils::jsonToString(params);
    std::string encrypted = encryptedText(bridge, text);
    HttpClient client;
    client.setReplyLimit(config.getConfig(CONFIG_REPLY_LIMIT, kDefaultReplyLimit));
    secure(client, url, config);
    VLOX_LOG(1, "httpMode=%d,url=%s, param=%s", method, url.c_str(), text.c_str());
    createRequest(client, method, url);
    if (!bridge) {
        VLOX_LOG(4, "m_encrypt is not been set");
        return 0;
    }
    if (encrypted.empty()) {  // not even of "{}"
        VLOX_LOG(4, "nothing is sent without a session key");
        return 0;
    }
    for (ServiceField& field : serviceFields(user.getAppID(), *bridge, asymType, std::move(encrypted))) {
        client.addParam(field.first, std::move(field.second));
    }
    if (config.getConfig(CONFIG_REQUEST_ENVELOPE_MODE, 0) == 1) {
        const int deviceType = Context::getInstance()->getContext(CONTEXT_DEVICE_TYPE, 0);
        client.addHeader(PARA_CUSTOM_HEADER_PARAMS,
                         encryptedHeader(bridge, senderText(deviceType, user.getVloxID())));
    }
    const int code = client.performSync(std::make_shared<QosParams>(serviceLimits(timeout)), nullptr);
    if (outcome) {
        *outcome = client.getOutcome();
    }
    return readServiceReply("doSyncHttpRequest", code, client.getResultData(), bridge, result, document);
}

}  // namespace vloxlib
