#include "vloxlib/http/CurlExchange.h"

#include <algorithm>
#include <limits>
#include <mutex>
#include <utility>

#include "vloxlib/http/CurlRun.h"
#include "vloxlib/http/HttpRequestShare.h"
#include "vloxlib/log/vloxLog.h"

namespace vloxlib {

namespace {

constexpr std::chrono::seconds kDefaultConnectTimeout{15};
constexpr std::chrono::seconds kNoLimit{0};

std::chrono::seconds limitOr(int seconds, std::chrono::seconds otherwise) {
    return seconds > 0 ? std::chrono::seconds(seconds) : otherwise;
}

// libcurl takes 0 for no limit, and no more than a long holds.
long remaining(std::chrono::milliseconds limit, std::chrono::milliseconds spent) {
    return static_cast<long>(std::clamp<std::chrono::milliseconds::rep>((limit - spent).count(), 1,
                                                                        std::numeric_limits<long>::max()));
}

}  // namespace

CurlExchange::CurlExchange(TlsSettings tls) : m_tls(std::move(tls)), m_curl(curl_easy_init()) {
    HttpRequestShare::instance();
    HttpRequestShare::setShareHandle(m_curl.get());
    m_tls.putOn(m_curl.get());
}

void CurlExchange::prepare(const QosParams& limits) {
    CURL* const curl = m_curl.get();
    curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, kSchemes);
    // Over HTTP/2 libcurl repeats requests that a server may have begun with, and stalls on long heads.
    curl_easy_setopt(curl, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(curl, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(curl, CURLOPT_HEADER, 0L);
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_QUICK_EXIT, 1L);  // the limits end a look-up of libcurl's own as well
    m_connectLimit = limitOr(limits.connectTimeout, kDefaultConnectTimeout);
    m_limit = limitOr(limits.timeout, kNoLimit);
    spend(std::chrono::milliseconds(0));
}

void CurlExchange::spend(std::chrono::milliseconds spent) {
    CURL* const curl = m_curl.get();
    curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT_MS, remaining(m_connectLimit, spent));
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, m_limit == kNoLimit ? 0L : remaining(m_limit, spent));
}

std::chrono::seconds CurlExchange::connectLimit() const {
    return m_limit == kNoLimit ? m_connectLimit : std::min(m_connectLimit, m_limit);
}

ExchangeReply CurlExchange::run(const ExchangeRequest& request) { return runOn(m_curl.get(), request); }

void initialLibcurl() {
    static std::once_flag once;
    std::call_once(once, [] {
        curl_global_init(CURL_GLOBAL_ALL);
        const curl_version_info_data* const info = curl_version_info(CURLVERSION_NOW);
        VLOX_LOG(2, "libcurl version is : %s, and version num is : %d", info->version,
                 static_cast<int>(info->version_num));
    });
}

}  // namespace vloxlib
