#include "FileService.h"

#include <vloxlib/ConfigManager.h>
#include <vloxlib/Context.h>
#include <vloxlib/ServiceVocabulary.h>
#include <vloxlib/log/vloxLog.h>
#include <win32/VLOXBase.h>

namespace files {

using common::JsonObject;
using vloxlib::HttpClient;

namespace {

FileService::Reply readResult(const std::string& text) {
    const rapidjson::Document result = common::parseJson(text);
    FileService::Reply reply;
    reply.code = common::intOf(result, PARA_RETURN_CODE, FileService::kNotSent);
    reply.data = common::parseJson(common::textOf(result, PARA_DATA));
    return reply;
}

}  // namespace

FileService::FileService(__int64 clientId)
    : m_clientId(clientId),
      m_user(vloxlib::VLOXBase::getUserInfo(clientId)),
      m_bridge(vloxlib::EncryptBridge::getInstance(m_user.getVloxID())),
      m_http(vloxlib::HttpHelper::getInstance(m_user)),
      m_addresses(vloxlib::ServerAddrManager::getInstance(m_user)) {
    if (m_bridge->initial() != 0) {  // the session key, by the client's configuration
        VLOX_LOG(4, "no session key could be made: nothing will be sent");
    }
}

int FileService::findServer() { return m_addresses->queryServerAddress(); }

std::string FileService::url(const char* path) const {
    return vloxlib::VLOXBase::getUrl(m_clientId, vloxlib::CONFIG_FS_HOST, vloxlib::CONFIG_FS_PORT, path);
}

FileService::Reply FileService::ask(const char* path, const JsonObject& params, int seconds) const {
    const std::string result = m_http->doSyncHttpRequest(vloxlib::HTTP_METHOD_POST, vloxlib::HTTP_BUSINESS_FS,
                                                         url(path), params.text(), seconds);
    return readResult(result);
}

// What HttpHelper does for a request of its own.
bool FileService::prepare(HttpClient& client, const char* path, JsonObject& params) const {
    client.createPostRequest(url(path));
    secure(client);
    return sign(client, params.add(PARA_TOKEN, m_http->getToken()).text());
}

void FileService::secure(HttpClient& client) const {
    client.setSecurityPolicy(m_http->getWebRequestMode());
    client.setCAPath(m_http->getCACertificatePath());
    client.setCAContent(m_http->getCACertificateContent());
    client.setClientCertPath(m_http->getClientCertificatePath());
    client.setClientCertContent(m_http->getClientCertificateContent());
    client.setKeyPassword(m_http->getKeyPassword());
    client.setVerifyHost(m_http->getVerifyHost());
}

bool FileService::sign(HttpClient& client, const std::string& params) const {
    const std::string encrypted = m_http->generateHttpParam(params);
    if (encrypted.empty()) {
        return false;  // there is no session key
    }
    const auto config = vloxlib::ConfigManager::getInstance(m_user.getVloxID());
    if (config->getConfig(vloxlib::CONFIG_ENCRYPT_POLICY, 0) != 0) {
        client.addParam(PARA_APP_ID, m_user.getAppID());
        client.addParam(PARM_CRYPTO_ALG, m_bridge->getCryptoTypeStr());
        client.addParam(PARA_SECRET_KEY, m_bridge->getSecretKeyBase64());
        client.addParam(PARA_VERSION, "1");
    }
    client.addParam(PARA_PARAMS, encrypted);
    const int deviceType = vloxlib::Context::getInstance()->getContext(vloxlib::CONTEXT_DEVICE_TYPE, 0);
    const std::string sender =
        JsonObject().add(PARA_DEVICE_TYPE, deviceType).add(PARA_VLOXID, m_user.getVloxID()).text();
    client.addHeader(PARA_CUSTOM_HEADER_PARAMS, m_http->generateHttpHeaderParam(sender));
    return true;
}

FileService::Reply FileService::replyOf(HttpClient& client) const {
    rapidjson::Document document;
    vloxlib::JsonValue result(rapidjson::kObjectType);
    m_http->handleHttpBody(client.getResultData(), result, document);
    return readResult(common::toText(result));
}

}  // namespace files
