#include "vloxlib/http/HttpClient.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <exception>
#include <mutex>
#include <string_view>

#include "platform/InetAddress.h"
#include "vloxlib/dnscache/DNSCache.h"
#include "vloxlib/dnscache/Tools.h"
#include "vloxlib/http/HttpHeaderLine.h"
#include "vloxlib/http/HttpRequestShare.h"
#include "vloxlib/http/HttpResult.h"
#include "vloxlib/http/TlsSettings.h"
#include "vloxlib/http/TransferData.h"
#include "vloxlib/log/vloxLog.h"
#include "vloxlib/network/NetworkMonitor.h"

namespace vloxlib {

namespace {

constexpr long kDefaultConnectTimeout = 15;
constexpr long kNoLimit = 0;
constexpr int kUsualReply = 128;

// The system's own fields are all of these characters, and libcurl is slow in finding that out.
constexpr std::array<bool, 256> kNeedsNoEscape = [] {
    std::array<bool, 256> table{};
    for (const char c :
         std::string_view("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.~")) {
        table[static_cast<unsigned char>(c)] = true;
    }
    return table;
}();

bool needsNoEscape(char c) { return kNeedsNoEscape[static_cast<unsigned char>(c)]; }

long limitOr(int seconds, long otherwise) { return seconds > 0 ? seconds : otherwise; }

// Takes URLs apart and keeps the last one: a module sends to the same service over and over.
class Targets {
public:
    static Targets& instance() {
        static auto* const targets = new Targets;  // requests may still run at the process's end
        return *targets;
    }
    HOSTPORT of(const std::string& url) {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (!url.empty() && url == m_url) {
                return m_target;
            }
        }
        HOSTPORT target = Tools::getHOSTPORT(url);
        if (!target.host.empty()) {  // what is no URL is told each time
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_url = url;
            m_target = target;
        }
        return target;
    }

private:
    std::mutex m_mutex;
    std::string m_url;
    HOSTPORT m_target;
};

// Ends a transfer: takes back what was lent to libcurl for its length, so that a handle that is used again,
// or shared with a copy, never points at what is gone.
class LentToCurl {
public:
    explicit LentToCurl(CURL* curl) : m_curl(curl) {}
    LentToCurl(const LentToCurl&) = delete;
    LentToCurl& operator=(const LentToCurl&) = delete;
    ~LentToCurl() {
        curl_easy_setopt(m_curl, CURLOPT_WRITEFUNCTION, nullptr);
        curl_easy_setopt(m_curl, CURLOPT_WRITEDATA, nullptr);
        curl_easy_setopt(m_curl, CURLOPT_READFUNCTION, nullptr);
        curl_easy_setopt(m_curl, CURLOPT_READDATA, nullptr);
        curl_easy_setopt(m_curl, CURLOPT_NOPROGRESS, 1L);
        curl_easy_setopt(m_curl, CURLOPT_XFERINFODATA, nullptr);
        curl_easy_setopt(m_curl, CURLOPT_MIMEPOST, nullptr);
        curl_easy_setopt(m_curl, CURLOPT_HTTPHEADER, nullptr);
        curl_easy_setopt(m_curl, CURLOPT_RESOLVE, nullptr);
        curl_easy_setopt(m_curl, CURLOPT_POSTFIELDS, nullptr);
        curl_easy_setopt(m_curl, CURLOPT_CUSTOMREQUEST, nullptr);
        curl_easy_setopt(m_curl, CURLOPT_HTTPGET, 1L);
    }

private:
    CURL* m_curl;
};

}  // namespace

HttpClient::HttpClient() = default;
HttpClient::HttpClient(const HttpClient&) = default;
HttpClient& HttpClient::operator=(const HttpClient&) = default;
HttpClient::~HttpClient() {
    cleanse(m_keyPassword);
    cleanse(m_clientCertContent);
}

int HttpClient::create(HTTPMethod method, const std::string& url) {
    m_httpMode = method;
    m_url = url;
    return 0;
}

int HttpClient::createGetRequest(const std::string& url) { return create(HTTP_METHOD_GET, url); }

int HttpClient::createPostRequest(const std::string& url) {
    m_postMode = 0;
    return create(HTTP_METHOD_POST, url);
}

int HttpClient::createPutRequest(const std::string& url) {
    m_postMode = 0;
    return create(HTTP_METHOD_PUT, url);
}

int HttpClient::createDeleteRequest(const std::string& url) { return create(HTTP_METHOD_DELETE, url); }

int HttpClient::addParam(std::string key, std::string value) {
    if (key.empty() || value.empty()) {
        VLOX_LOG(3, "key=%s,value=%s", key.c_str(), value.c_str());
        return kExchangeInvalidArgument;
    }
    value.resize(std::strlen(value.c_str()));
    if (!std::all_of(value.begin(), value.end(), needsNoEscape)) {
        const std::unique_ptr<char, decltype(&curl_free)> escaped(curl_easy_escape(nullptr, value.c_str(), 0),
                                                                  &curl_free);
        if (!escaped) {
            VLOX_LOG(3, "a value of %zu bytes can't be escaped, key=%s", value.size(), key.c_str());
            return kExchangeUnknown;
        }
        value = escaped.get();
    }
    m_param.emplace(std::move(key), std::move(value));
    return 0;
}

int HttpClient::addHeader(std::string key, std::string value) {
    if (key.empty() || value.empty()) {
        VLOX_LOG(3, "headerKey=%s,headerValue=%s", key.c_str(), value.c_str());
        return kExchangeInvalidArgument;
    }
    m_header.emplace(std::move(key), std::move(value));
    return 0;
}

int HttpClient::setHeader(const Fields& headers) {
    m_header = headers;
    return 0;
}

int HttpClient::performSync(std::shared_ptr<QosParams> qos, long* httpCode) {
    syncCommonParams(std::move(qos));
    chooseAddress();
    const int ret = httpPerform(httpCode);
    reportFailure(ret);
    return ret;
}

void HttpClient::chooseAddress() {
    m_resolveIp.clear();
    const HOSTPORT target = Targets::instance().of(m_url);
    if (platform::isInetAddress(target.host)) {
        return;
    }
    m_resolveIp = DNSCache::getInstance()->getIpByDomain(target.host);
    if (m_resolveIp.empty()) {
        VLOX_LOG(2, "ip get from DNSCache is empty");
        return;
    }
    VLOX_LOG(2, "ip get from DNSCache is %s", m_resolveIp.c_str());
    m_resolveHost = target.host;
    m_resolvePort = std::to_string(target.port);
}

// Where there is no network, a failure isn't the address's.
void HttpClient::reportFailure(int ret) const {
    const bool failed = m_curlCode != CURLE_OK || ret == kExchangeUnknown;
    if (failed && !m_resolveIp.empty() && NetworkMonitor::getNetworkType() != NETWORK_TYPE_NONE) {
        DNSCache::getInstance()->notifyFailureIpByDomain(m_resolveHost, m_resolveIp, m_curlCode);
    }
}

int HttpClient::syncCommonParams(std::shared_ptr<QosParams> qos) {
    initialSSLLibrary();
    TlsSettings tls = tlsSettings();
    // A handle keeps connections and sessions that were verified by its settings: other settings get another.
    if (!m_curl || !(*m_tlsSettings == tls)) {
        m_tlsSettings = std::make_shared<const TlsSettings>(std::move(tls));
        m_curl.reset(curl_easy_init(), &curl_easy_cleanup);
        HttpRequestShare::instance();
        HttpRequestShare::setShareHandle(m_curl.get());
        initialSSLProperty(m_curl.get());
    }
    CURL* const curl = m_curl.get();
    curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(curl, CURLOPT_HEADER, 0L);
    curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, &HttpClient::httpHeaderCallback);
    curl_easy_setopt(curl, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);

    const QosParams limits = qos ? *qos : QosParams();
    curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT, limitOr(limits.connectTimeout, kDefaultConnectTimeout));
    curl_easy_setopt(curl, CURLOPT_TIMEOUT, limitOr(limits.timeout, kNoLimit));

    m_headerList.reset();
    for (const auto& [key, value] : m_header) {
        appendHeaderLine(key + ": " + value);
    }
    return 0;
}

void HttpClient::appendHeaderLine(const std::string& line) {
    curl_slist* const list = curl_slist_append(m_headerList.get(), line.c_str());
    if (!m_headerList) {
        m_headerList.reset(list, &curl_slist_free_all);
    }
}

int HttpClient::httpPerform(long* httpCode) {
    switch (m_httpMode) {
        case HTTP_METHOD_GET:
            return httpPerformGet(httpCode);
        case HTTP_METHOD_POST:
            return httpPerformPost(httpCode);
        case HTTP_METHOD_PUT:
            return httpPerformPut(httpCode);
        case HTTP_METHOD_DELETE:
            return httpPerformDelete(httpCode);
    }
    return 0;
}

int HttpClient::httpPerformGet(long* httpCode) {
    curl_easy_setopt(m_curl.get(), CURLOPT_HTTPGET, 1L);
    setUrl(urlWithParams());
    return m_isFileOperate ? httpPerformDownload(httpCode) : performInMemory(httpCode);
}

int HttpClient::httpPerformPost(long* httpCode) {
    setUrl(m_url);
    if (m_postMode == 1) {
        return performUpload(httpCode);
    }
    const std::string body = joinedParams();
    curl_easy_setopt(m_curl.get(), CURLOPT_POSTFIELDS, body.c_str());
    curl_easy_setopt(m_curl.get(), CURLOPT_POST, 1L);
    appendHeaderLine("Expect:");
    return m_isFileOperate ? httpPerformDownload(httpCode) : performInMemory(httpCode);
}

int HttpClient::httpPerformPut(long* httpCode) {
    curl_easy_setopt(m_curl.get(), CURLOPT_CUSTOMREQUEST, "PUT");
    setUrl(urlWithParams());
    return m_postMode == 1 ? performPutUpload(httpCode) : performInMemory(httpCode);
}

int HttpClient::httpPerformDelete(long* httpCode) {
    curl_easy_setopt(m_curl.get(), CURLOPT_CUSTOMREQUEST, "DELETE");
    setUrl(urlWithParams());
    return performInMemory(httpCode);
}

void HttpClient::setUrl(const std::string& url) { curl_easy_setopt(m_curl.get(), CURLOPT_URL, url.c_str()); }

std::string HttpClient::joinedParams() const {
    std::string joined;
    for (const auto& [key, value] : m_param) {
        joined += joined.empty() ? "" : "&";
        joined += key + "=" + value;
    }
    return joined;
}

// Without fields the "?" goes again, also one that the caller wrote.
std::string HttpClient::urlWithParams() const {
    std::string url = m_url;
    const bool marked = !url.empty() && url.back() == '?';
    if (m_param.empty()) {
        url.resize(url.size() - (marked ? 1 : 0));
        return url;
    }
    return url + (marked ? "" : "?") + joinedParams();
}

int HttpClient::performInMemory(long* httpCode) {
    ReceivedData received(kUsualReply, DATA_TYPE_STRING);
    received.setHttpClient(this);
    curl_easy_setopt(m_curl.get(), CURLOPT_WRITEFUNCTION, &HttpClient::httpRecvDataCallback);
    curl_easy_setopt(m_curl.get(), CURLOPT_WRITEDATA, &received);
    const long status = transfer(httpCode);
    if (m_curlCode != CURLE_OK) {
        return parseHttpResult(m_curlCode);
    }
    if (!acceptedStatus(status)) {
        VLOX_LOG(4, "http fail httpCode = %d", static_cast<int>(status));
        return kExchangeUnknown;
    }
    auto& text = *static_cast<std::string*>(received.getData());
    text.resize(std::strlen(text.c_str()));
    m_resultData = std::move(text);
    return 0;
}

long HttpClient::transfer(long* httpCode) {
    CURL* const curl = m_curl.get();
    const std::string pinned = m_resolveHost + ":" + m_resolvePort + ":" + m_resolveIp;
    const std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> resolve(
        m_resolveIp.empty() ? nullptr : curl_slist_append(nullptr, pinned.c_str()), &curl_slist_free_all);
    const LentToCurl lent(curl);
    curl_easy_setopt(curl, CURLOPT_RESOLVE, resolve.get());
    curl_easy_setopt(curl, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, m_headerList.get());
    m_curlCode = curl_easy_perform(curl);
    long status = 0;
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
    if (httpCode) {
        *httpCode = status;
    }
    VLOX_LOG(2, "httpCode=%ld,ret=%d", status, m_curlCode);
    if (m_callersException) {
        std::rethrow_exception(std::exchange(m_callersException, nullptr));
    }
    return status;
}

bool HttpClient::acceptedStatus(long httpCode) const {
    return httpCode == 200 || httpCode == 302 || isRedirect();
}

// An exception must not pass through libcurl's frames: a short count makes it end the transfer instead.
std::size_t HttpClient::httpHeaderCallback(char* buffer, std::size_t size, std::size_t count, void* client) {
    try {
        insertHeaderLine({buffer, size * count}, static_cast<HttpClient*>(client)->m_resultHeader);
    } catch (const std::exception&) {
        return 0;
    }
    return size * count;
}

std::string HttpClient::getResultHeaderByKey(const std::string& key) const {
    if (key.empty()) {
        VLOX_LOG(3, "headerKey=%s", key.c_str());
        return "";
    }
    const auto found = m_resultHeader.find(key);
    return found == m_resultHeader.end() ? "" : found->second;
}

std::string HttpClient::getContentType() const { return getResultHeaderByKey("Content-Type"); }

__int64 HttpClient::getContentRange() {
    if (m_contentRange == 0) {
        m_contentRange = startOfContentRange(getResultHeaderByKey("Content-Range"));
    }
    return m_contentRange;
}

bool HttpClient::isRedirect() const { return !getResultHeaderByKey("Redirect").empty(); }

}  // namespace vloxlib
