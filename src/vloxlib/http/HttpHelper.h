#ifndef VLOXLIB_HTTP_HTTPHELPER_H
#define VLOXLIB_HTTP_HTTPHELPER_H

#include <rapidjson/document.h>

#include <vloxlib/ConfigKey.h>
#include <vloxlib/Export.h>
#include <vloxlib/Noncopyable.h>
#include <vloxlib/UserInfo.h>
#include <vloxlib/http/HttpTypes.h>
#include <vloxlib/http/LoginInfo.h>
#include <vloxlib/http/ServerInfo.h>
#include <vloxlib/utility/RapidJsonUtils.h>
#include <map>
#include <memory>
#include <string>

namespace vloxlib {

class ConfigManager;
class EncryptBridge;
class LoginToken;
struct KnownAddresses;
struct ServiceAttempt;
template <typename T>
class InstancesHolder;

/// @brief The one door to the platform's services: signs, encrypts and sends a request, and reads its reply.
///
/// A request is a JSON object of parameters; its result is a text, `{"data":"...","returnCode":0}`. `data` is
/// the JSON text that the service sent, decrypted, or after a failure what came instead; it is absent when it
/// would be empty. `returnCode` is 0 or a native code, negative but for the 15xxx family. The empty text as a
/// result says that nothing was sent.
///
/// Two failures are mended, once each: a host that can't be resolved or doesn't answer in time, where the
/// other address of "AS" takes its place; and a reply that names another zone, which is then asked. Each
/// attempt appends its members to the one result, so that a reader by name finds those of the first.
///
/// Threads: any; each request runs on its caller's thread, and requests run in parallel.
/// Ownership: shares the client's configuration and its encryption bridge, which the application has to have
/// brought up by EncryptBridge::initial() before the first request.
class VLOX_API HttpHelper : public Noncopyable {
public:
    using HeadParams = std::map<std::string, std::string>;

    /// @brief The account's living helper, or a new one.
    static std::shared_ptr<HttpHelper> getInstance(const UserInfo& userInfo);
    /// @brief Forgets the account's helper; who holds it keeps it.
    static void releaseInstance(const std::string& vloxId);

    explicit HttpHelper(const UserInfo& userInfo);
    ~HttpHelper() override;

    /// @brief Takes over a login, for the token of the requests that follow.
    void setLoginInfo(const LoginInfo& loginInfo);
    /// @brief The login in the form that requests carry; empty without one. It is made anew only for a new
    /// signature: other times alone leave it as it was.
    std::string getToken();

    /// @name Service requests
    /// @param url a whole URL; each `${name}` in it is replaced from headParams, which has to fit it exactly
    /// @param paramsJsonStr,params the parameters, a JSON object
    /// @param timeout for the whole exchange in seconds, 15 where it isn't given; at most 10 of them to
    /// connect
    /// @return the result text; empty for an empty URL, head parameters that don't fit and parameters that
    /// are no JSON object
    /// @{
    std::string doSyncHttpRequest(HTTPMethod method, HTTPBusinessType businessType, const std::string& url,
                                  const std::string& paramsJsonStr);
    std::string doSyncHttpRequest(HTTPMethod method, HTTPBusinessType businessType, const std::string& url,
                                  const std::string& paramsJsonStr, int timeout);
    std::string doSyncHttpRequest(HTTPMethod method, HTTPBusinessType businessType, const std::string& url,
                                  const JsonValue& params, const HeadParams& headParams);
    std::string doSyncHttpRequest(HTTPMethod method, HTTPBusinessType businessType, const std::string& url,
                                  const JsonValue& params, const HeadParams& headParams, int timeout);
    std::string doSyncHttpRequest(HTTPMethod method, HTTPBusinessType businessType, const std::string& url,
                                  const HeadParams& headParams, const std::string& paramsJsonStr);
    std::string doSyncHttpRequest(HTTPMethod method, HTTPBusinessType businessType, const std::string& url,
                                  const HeadParams& headParams, const std::string& paramsJsonStr,
                                  int timeout);
    /// @param outcome receives what became of the last exchange that was made
    std::string doSyncHttpRequest(HTTPMethod method, HTTPBusinessType businessType, const std::string& url,
                                  const HeadParams& headParams, const std::string& paramsJsonStr, int timeout,
                                  ExchangeOutcome& outcome);
    /// @}

    /// @brief Reads a result text.
    /// @param document holds the memory of dataValue
    /// @param dataValue receives what the result's `data` text holds; untouched when there is none
    /// @return the result's code; -112 when it or its `data` is no JSON, -116 when it has no code
    int parseHttpResultString(const std::string& resultStr, rapidjson::Document& document,
                              JsonValue& dataValue);

    /// @brief Reads a reply's body as the exchanges here do, and appends its `data` and `returnCode` to
    /// result.
    /// @return the code that was appended
    int handleHttpBody(const std::string& body, JsonValue& result, rapidjson::Document& document);
    static int handleHttpBody(const std::string& body, std::shared_ptr<EncryptBridge> bridge,
                              JsonValue& result, rapidjson::Document& document);

    /// @brief Encrypts a text with the session key, for a field. Empty without a bridge or a key: who builds
    /// a request of its own must not send it then.
    std::string generateHttpParam(const std::string& text);
    static std::string generateHttpParam(std::shared_ptr<EncryptBridge> bridge, const std::string& text);
    /// @brief Encrypts a text with the fixed special key, for the custom header. Empty without a bridge.
    std::string generateHttpHeaderParam(const std::string& text);
    static std::string generateHttpHeaderParam(std::shared_ptr<EncryptBridge> bridge,
                                               const std::string& text);

    /// @brief A bridge into the zone that a reply names; nobody but the caller holds it.
    /// @param encryptInfo the reply's decrypted data
    /// @param serverInfo receives the zone's address and kind of encryption
    /// @return null when the zone isn't named in full
    static std::shared_ptr<EncryptBridge> generateEncryptBridge(SYM_ENCRYPT_TYPE symType,
                                                                const std::string& encryptInfo,
                                                                ServerInfo& serverInfo);

    /// @brief The URL of a service path on the client's "AS" server; empty while the server isn't configured.
    std::string getCommonHttpBusinessTypeFullUrl(const std::string& path);

    /// @name The client's settings of the transport
    /// @{
    std::string getNetworkProtocolStr() const;  ///< "http://" or "https://"
    SecurityPolicy getWebRequestMode() const;
    bool getVerifyHost() const;
    std::string getCACertificatePath() const;
    std::string getCACertificateContent() const;
    std::string getClientCertificatePath() const;
    std::string getClientCertificateContent() const;
    std::string getKeyPassword() const;
    /// @}

private:
    static InstancesHolder<HttpHelper>& s_instanceHolder;  // never destroyed

    struct Call;  // what a caller asks for
    std::string requestWithText(const Call& call, const std::string& paramsJsonStr);
    // Adds the token to the parameters, which live in the document.
    std::string requestWithToken(const Call& call, JsonValue& params, rapidjson::Document& document);
    int requestOwnZone(const ServiceAttempt& attempt, const std::string& url);
    void requestOtherZone(const ServiceAttempt& attempt, const std::string& base);
    int loadCaCertificateContent();  // exported for who knows it by its name; nothing here calls it
    std::string configText(_ConfigKey key) const;

    const std::shared_ptr<ConfigManager> m_configManager;
    const std::shared_ptr<EncryptBridge> m_encrypt;
    const std::shared_ptr<KnownAddresses> m_knownAddresses;  // only kept
    const UserInfo m_userInfo;
    const std::unique_ptr<LoginToken> m_token;
};

}  // namespace vloxlib

#endif
