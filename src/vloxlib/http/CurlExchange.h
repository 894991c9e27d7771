#ifndef VLOXLIB_HTTP_CURLEXCHANGE_H
#define VLOXLIB_HTTP_CURLEXCHANGE_H

#include <curl/curl.h>

#include <chrono>
#include <memory>
#include <string>

#include "vloxlib/http/ExchangeRecords.h"
#include "vloxlib/http/TlsSettings.h"

namespace vloxlib {

/// @brief libcurl's handle with its trust and identity, and exchanges run on it, one at a time.
///
/// A run lends its request's pointers to the handle and takes them back, so that a handle that is used again
/// never points at what is gone. Connections and sessions stay with the handle: other settings of TLS need
/// another one. Threads: one at a time.
class CurlExchange {
public:
    explicit CurlExchange(TlsSettings tls);

    bool fits(const TlsSettings& tls) const { return m_tls == tls; }
    CURL* handle() const { return m_curl.get(); }

    /// @brief Sets what all runs have in common.
    void prepare(const QosParams& limits);
    /// @brief Takes off the limits what has been spent before the run.
    void spend(std::chrono::milliseconds spent);
    /// @brief How long a connection may take to stand, by the nearer of both limits.
    std::chrono::seconds connectLimit() const;
    ExchangeReply run(const ExchangeRequest& request);

private:
    struct Free {
        void operator()(CURL* curl) const { curl_easy_cleanup(curl); }
    };

    const TlsSettings m_tls;  // above the handle, which points to them
    const std::unique_ptr<CURL, Free> m_curl;
    std::chrono::seconds m_connectLimit{0};
    std::chrono::seconds m_limit{0};  // 0: none
};

/// @brief Starts libcurl, once for the process, and logs its version.
void initialLibcurl();

}  // namespace vloxlib

#endif
