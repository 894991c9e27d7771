#include "vloxlib/http/HttpClient.h"

#include <algorithm>
#include <utility>

#include "vloxlib/NativeCodes.h"
#include "vloxlib/http/CarefulDownload.h"
#include "vloxlib/http/ClientState.h"
#include "vloxlib/http/HttpHeaderLine.h"
#include "vloxlib/http/OpenFile.h"
#include "vloxlib/http/PinnedAddress.h"
#include "vloxlib/http/RequestFields.h"
#include "vloxlib/log/vloxLog.h"
#include "vloxlib/utility/FileUtil.h"

namespace vloxlib {

namespace {

// A line end would begin a header of its own, or end the head.
bool staysInItsLine(const std::string& key, const std::string& value) {
    return (key + value).find_first_of("\r\n") == std::string::npos;
}

bool holdsControlCharacter(const std::string& url) {
    return std::any_of(url.begin(), url.end(), [](unsigned char c) { return c < 0x20 || c == 0x7f; });
}

int refusedHeader() {
    VLOX_LOG(3, "a header holds a line end");
    return native::kInvalidArgument;
}

}  // namespace

HttpClient::HttpClient() : m_state(std::make_unique<ClientState>()) {}
HttpClient::HttpClient(const HttpClient& other) : m_state(std::make_unique<ClientState>(*other.m_state)) {}
HttpClient& HttpClient::operator=(const HttpClient& other) {
    *m_state = *other.m_state;
    return *this;
}
HttpClient::~HttpClient() = default;

int HttpClient::createGetRequest(const std::string& url) { return create(HTTP_METHOD_GET, url); }

int HttpClient::createPostRequest(const std::string& url) {
    m_state->postMode = 0;
    return create(HTTP_METHOD_POST, url);
}

int HttpClient::createPutRequest(const std::string& url) {
    m_state->postMode = 0;
    return create(HTTP_METHOD_PUT, url);
}

int HttpClient::createDeleteRequest(const std::string& url) { return create(HTTP_METHOD_DELETE, url); }

int HttpClient::create(HTTPMethod method, const std::string& url) {
    m_state->method = method;
    m_state->url = url;
    return 0;
}

int HttpClient::addParam(std::string key, std::string value) {
    if (key.empty() || value.empty()) {
        VLOX_LOG(3, "key=%s,value=%s", key.c_str(), value.c_str());
        return native::kInvalidArgument;
    }
    return addField(m_state->fields, std::move(key), std::move(value)) ? 0 : native::kUnknown;
}

int HttpClient::addHeader(std::string key, std::string value) {
    if (key.empty() || value.empty()) {
        VLOX_LOG(3, "headerKey=%s,headerValue=%s", key.c_str(), value.c_str());
        return native::kInvalidArgument;
    }
    if (!staysInItsLine(key, value)) {
        return refusedHeader();
    }
    m_state->header.emplace(std::move(key), std::move(value));
    return 0;
}

int HttpClient::setHeader(const Fields& headers) {
    for (const auto& [key, value] : headers) {
        if (!staysInItsLine(key, value)) {
            return refusedHeader();
        }
    }
    m_state->header = headers;
    return 0;
}

int HttpClient::setUploadFile(std::string key, std::string path, long left, long right, long alreadyRead) {
    if (key.empty() || path.empty()) {
        VLOX_LOG(3, "key=%s,fileAbsolutePath=%s", key.c_str(), path.c_str());
        return native::kInvalidArgument;
    }
    if (!OpenFile(FileUtil::fopen(path, "rb"))) {
        VLOX_LOG(3, "FILE is null");
        return native::kInvalidArgument;
    }
    auto param = std::make_shared<UploadFileParm>();
    param->m_filePath = std::move(path);
    param->m_key = std::move(key);
    param->m_left = left;
    param->m_right = right;
    param->m_readBytes = alreadyRead;
    m_state->fileParam = std::move(param);
    m_state->postMode = 1;
    m_state->isFileOperate = true;
    m_state->fileType = FILE_OPERATE_UPLOAD;
    m_state->dropOwnRange();
    return 0;
}

int HttpClient::setDownloadFile(std::string path, int mode, long offset) {
    auto download = std::make_shared<DownloadFileParm>();
    download->m_filePath = std::move(path);
    download->m_mode = mode;
    download->m_offset = offset;
    return m_state->setDownload(std::move(download));
}

int HttpClient::setCarefulDownload(std::string path) {
    auto download = std::make_shared<DownloadFileParm>();
    download->m_offset = keptPart(path).length;
    download->m_mode = download->m_offset > 0 ? 1 : 0;
    download->m_filePath = std::move(path);
    download->m_careful = true;
    return m_state->setDownload(std::move(download));
}

int HttpClient::httpCancel() {
    if (!m_state->fileParam) {
        return -1;
    }
    m_state->fileParam->m_cancel = true;
    return 0;
}

int HttpClient::performSync(std::shared_ptr<QosParams> qos, long* httpCode) {
    syncCommonParams(std::move(qos));
    if (holdsControlCharacter(m_state->url)) {
        VLOX_LOG(3, "the url holds a control character");
        return native::kInvalidArgument;
    }
    m_state->lookUp();
    const int ret = httpPerform(httpCode);
    const ExchangeOutcome& outcome = m_state->outcome;
    reportOutcome(m_state->pinned, outcome, outcome.curlCode != 0 || ret == native::kUnknown);
    return ret;
}

int HttpClient::syncCommonParams(std::shared_ptr<QosParams> qos) {
    m_state->prepare(qos ? *qos : QosParams());
    return 0;
}

int HttpClient::httpPerform(long* httpCode) {
    switch (m_state->method) {
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
    return m_state->isFileOperate ? m_state->runDownload(HTTP_METHOD_GET, httpCode)
                                  : m_state->runQuery(HTTP_METHOD_GET, httpCode);
}

int HttpClient::httpPerformPost(long* httpCode) {
    if (m_state->postMode == 1) {
        return m_state->runUpload(HTTP_METHOD_POST, httpCode);
    }
    return m_state->isFileOperate ? m_state->runDownload(HTTP_METHOD_POST, httpCode)
                                  : m_state->runForm(httpCode);
}

int HttpClient::httpPerformPut(long* httpCode) {
    return m_state->postMode == 1 ? m_state->runUpload(HTTP_METHOD_PUT, httpCode)
                                  : m_state->runQuery(HTTP_METHOD_PUT, httpCode);
}

int HttpClient::httpPerformDelete(long* httpCode) { return m_state->runQuery(HTTP_METHOD_DELETE, httpCode); }

int HttpClient::httpPerformDownload(long* httpCode) {
    return m_state->runDownload(m_state->method == HTTP_METHOD_POST ? HTTP_METHOD_POST : HTTP_METHOD_GET,
                                httpCode);
}

void HttpClient::setReplyLimit(__int64 bytes) { m_state->replyLimit = bytes; }
const ExchangeOutcome& HttpClient::getOutcome() const { return m_state->outcome; }

void HttpClient::setSecurityPolicy(SecurityPolicy policy) { m_state->tls.policy = policy; }
void HttpClient::setCAPath(const std::string& path) { m_state->tls.caPath = path; }
void HttpClient::setCAContent(const std::string& pem) { m_state->tls.caContent = pem; }
void HttpClient::setClientCertPath(const std::string& path) { m_state->tls.clientCertPath = path; }
void HttpClient::setClientCertContent(const std::string& pem) { m_state->tls.clientCertContent = pem; }
void HttpClient::setKeyPassword(const std::string& password) { m_state->tls.keyPassword = password; }
void HttpClient::setVerifyHost(bool verify) { m_state->tls.verifyHost = verify; }

std::string HttpClient::getResultHeaderByKey(const std::string& key) const {
    if (key.empty()) {
        VLOX_LOG(3, "headerKey=%s", key.c_str());
        return "";
    }
    const auto found = m_state->resultHeader.find(key);
    return found == m_state->resultHeader.end() ? "" : found->second;
}

std::string HttpClient::getContentType() const { return headerIn(m_state->resultHeader, "Content-Type"); }

__int64 HttpClient::getContentRange() {
    if (m_state->contentRange == 0) {
        m_state->contentRange = startOfContentRange(headerIn(m_state->resultHeader, "Content-Range"));
    }
    return m_state->contentRange;
}

bool HttpClient::isRedirect() const { return !headerIn(m_state->resultHeader, "Redirect").empty(); }

HttpClient::Fields HttpClient::getHeader() const { return m_state->header; }
HttpClient::Fields HttpClient::getParam() const { return m_state->fields; }
FileParam* HttpClient::getFileParam() const { return m_state->fileParam.get(); }
FileOperateType HttpClient::getFileType() const { return m_state->fileType; }
bool HttpClient::isFileOperate() const { return m_state->isFileOperate; }
std::string& HttpClient::getResultData() { return m_state->resultData; }
void HttpClient::setResultData(std::string data) { m_state->resultData = std::move(data); }
HttpClient::Fields& HttpClient::getResultHeader() { return m_state->resultHeader; }
void HttpClient::setResultHeader(Fields headers) { m_state->resultHeader = std::move(headers); }
const std::string& HttpClient::getUrl() const { return m_state->url; }
HTTPMethod HttpClient::getHttpMode() const { return m_state->method; }
int HttpClient::getPostMode() const { return m_state->postMode; }
const std::string& HttpClient::getActionId() const { return m_state->actionId; }
void HttpClient::setActionId(const std::string& actionId) { m_state->actionId = actionId; }
const std::function<void(int)>& HttpClient::getProgressCallback() const { return m_state->progressCallback; }
void HttpClient::setProgressCallback(std::function<void(int)> callback) {
    m_state->progressCallback = std::move(callback);
}
const std::function<void(int, int)>& HttpClient::getResultCallback() const { return m_state->resultCallback; }
void HttpClient::setResultCallback(std::function<void(int, int)> callback) {
    m_state->resultCallback = std::move(callback);
}
void* HttpClient::getCurlHandle() const { return m_state->exchange ? m_state->exchange->handle() : nullptr; }

}  // namespace vloxlib
