#ifndef FILES_FILESERVICE_H
#define FILES_FILESERVICE_H

#include <common/Json.h>
#include <vloxlib/encrypt/EncryptBridge.h>
#include <vloxlib/http/HttpClient.h>
#include <vloxlib/http/HttpHelper.h>
#include <vloxlib/http/ServerAddrManager.h>

#include <memory>
#include <string>

namespace files {

/// The platform's services of files on the wire: plain requests, and exchanges that carry a file along.
/// Threads: any.
class FileService {
public:
    explicit FileService(__int64 clientId);

    /// Nothing was sent, and the log tells why.
    static constexpr int kNotSent = -199;

    struct Reply {
        int code = 0;
        rapidjson::Document data;  ///< what the service says, after a failure too; null where it says nothing
    };
    /// Asks where the services are, unless that is known. 0, or why it stays unknown.
    int findServer();
    /// A request without a file.
    /// @param seconds how long the service may take
    Reply ask(const char* path, const common::JsonObject& params, int seconds) const;
    /// Prepares an exchange with a service; only the file is missing.
    /// @param params gains the login's token, as all requests carry it
    /// @return false without a session key: the exchange must not be made
    [[nodiscard]] bool prepare(vloxlib::HttpClient& client, const char* path,
                               common::JsonObject& params) const;
    /// What the service has answered to such an exchange.
    Reply replyOf(vloxlib::HttpClient& client) const;

private:
    std::string url(const char* path) const;
    void secure(vloxlib::HttpClient& client) const;
    bool sign(vloxlib::HttpClient& client, const std::string& params) const;

    const __int64 m_clientId;
    const vloxlib::UserInfo m_user;
    // The registries of the library keep none of these alive.
    const std::shared_ptr<vloxlib::EncryptBridge> m_bridge;
    const std::shared_ptr<vloxlib::HttpHelper> m_http;
    const std::shared_ptr<vloxlib::ServerAddrManager> m_addresses;
};

}  // namespace files

#endif
