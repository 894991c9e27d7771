// What HttpClient does with files, and the callbacks that move a body's bytes.
#include <curl/curl.h>

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "platform/FileOpen.h"
#include "vloxlib/ServiceVocabulary.h"
#include "vloxlib/http/HttpClient.h"
#include "vloxlib/http/HttpResult.h"
#include "vloxlib/http/TransferData.h"
#include "vloxlib/log/vloxLog.h"
#include "vloxlib/utility/FileUtil.h"
#include "vloxlib/utility/RapidJsonUtils.h"

namespace vloxlib {

namespace {

constexpr long kLowSpeedBytes = 10;
constexpr long kLowSpeedSeconds = 60;
constexpr char kJsonType[] = "application/json;charset=utf-8";

struct FormFree {
    void operator()(curl_mime* form) const { curl_mime_free(form); }
};

// The file of an upload, open for as long as this lives, and how much of what was announced has gone out.
class UploadFile {
public:
    explicit UploadFile(UploadFileParm& param)
        : m_param(param), m_file(FileUtil::fopen(param.m_filePath, "rb")) {
        m_param.m_file = m_file.get();
        if (!m_file) {
            VLOX_LOG(2, "file is null, path=%s\n", param.m_filePath.c_str());
            return;
        }
        std::setvbuf(m_file.get(), nullptr, _IONBF, 0);  // libcurl's pieces are large: one copy less
        m_length = param.isSlice() ? std::max(param.m_right - param.m_left, int64{0})
                                   : FileUtil::getLocalFileLenth(param.m_filePath);
    }
    ~UploadFile() { m_param.m_file = nullptr; }
    UploadFile(const UploadFile&) = delete;
    UploadFile& operator=(const UploadFile&) = delete;

    bool isOpen() const { return m_file != nullptr; }
    int64 length() const { return m_length; }

    // libcurl's read callback.
    static std::size_t read(char* buffer, std::size_t size, std::size_t count, void* file) {
        return static_cast<UploadFile*>(file)->give(buffer, size * count);
    }

private:
    std::size_t give(char* buffer, std::size_t room) {
        if (m_param.m_cancel) {
            VLOX_LOG(2, "canceld");
            return CURL_READFUNC_ABORT;
        }
        const std::size_t got = m_param.isSlice() ? readSlice(buffer, room) : readOn(buffer, room);
        m_sent += static_cast<int64>(got);
        if (got == 0 && m_sent < m_length) {  // the server would wait for the rest of what was announced
            VLOX_LOG(3, "file ended early, path=%s", m_param.m_filePath.c_str());
            return CURL_READFUNC_ABORT;
        }
        return got;
    }

    // The place is taken afresh each time, so that the file's own position doesn't matter.
    std::size_t readSlice(char* buffer, std::size_t room) {
        const int64 remaining = std::max(m_param.m_right - m_param.m_left - m_param.m_readBytes, int64{0});
        if (!platform::seekFile(m_param.m_file, m_param.m_left + m_param.m_readBytes)) {
            return 0;
        }
        const auto wanted = static_cast<std::size_t>(std::min(remaining, static_cast<int64>(room)));
        const std::size_t got = readOn(buffer, wanted);
        m_param.m_readBytes += static_cast<int64>(got);
        return got;
    }

    std::size_t readOn(char* buffer, std::size_t room) { return std::fread(buffer, 1, room, m_param.m_file); }

    UploadFileParm& m_param;
    OpenFile m_file;
    int64 m_length = -1;
    int64 m_sent = 0;
};

std::string bareName(const std::string& path) { return path.substr(path.find_last_of("/\\") + 1); }

// Any total and any start that a server may name.
int percentOf(int64 done, int64 total) {
    if (total <= 0) {
        return 0;
    }
    constexpr int64 safe = std::numeric_limits<int64>::max() / 100;
    const int64 percent = done <= safe ? done * 100 / total : total >= 100 ? done / (total / 100) : 100;
    return static_cast<int>(std::clamp(percent, int64{0}, int64{100}));
}

int64 withStart(int64 value, int64 start) {
    return value > std::numeric_limits<int64>::max() - start ? std::numeric_limits<int64>::max()
                                                             : value + start;
}

}  // namespace

int HttpClient::setUploadFile(std::string key, std::string path, long left, long right, long alreadyRead) {
    if (key.empty() || path.empty()) {
        VLOX_LOG(3, "key=%s,fileAbsolutePath=%s", key.c_str(), path.c_str());
        return kExchangeInvalidArgument;
    }
    if (!OpenFile(FileUtil::fopen(path, "rb"))) {
        VLOX_LOG(3, "FILE is null");
        return kExchangeInvalidArgument;
    }
    auto param = std::make_shared<UploadFileParm>();
    param->m_filePath = std::move(path);
    param->m_key = std::move(key);
    param->m_left = left;
    param->m_right = right;
    param->m_readBytes = alreadyRead;
    m_fileParam = std::move(param);
    m_postMode = 1;
    m_isFileOperate = true;
    m_fileType = FILE_OPERATE_UPLOAD;
    return 0;
}

int HttpClient::setDownloadFile(std::string path, int mode, long offset) {
    if (path.empty()) {
        VLOX_LOG(3, "fileAbsoulutePath=%s", path.c_str());
        return kExchangeInvalidArgument;
    }
    auto param = std::make_shared<DownloadFileParm>();
    param->m_filePath = std::move(path);
    param->m_mode = mode;
    param->m_offset = offset;
    m_fileParam = std::move(param);
    m_isFileOperate = true;
    m_fileType = FILE_OPERATE_DOWNLOAD;
    addHeader("Range", "bytes=" + std::to_string(offset) + "-");
    return 0;
}

int HttpClient::httpCancel() {
    if (!m_fileParam) {
        return -1;
    }
    m_fileParam->m_cancel = true;
    return 0;
}

UploadFileParm* HttpClient::uploadParam() const {
    return m_fileType == FILE_OPERATE_UPLOAD ? static_cast<UploadFileParm*>(m_fileParam.get()) : nullptr;
}

DownloadFileParm* HttpClient::downloadParam() const {
    return m_fileType == FILE_OPERATE_DOWNLOAD ? static_cast<DownloadFileParm*>(m_fileParam.get()) : nullptr;
}

int HttpClient::performUpload(long* httpCode) {
    UploadFileParm* const param = uploadParam();
    if (!param) {
        VLOX_LOG(3, "no file to upload");
        return kExchangeInvalidArgument;
    }
    watchProgress(FILE_OPERATE_UPLOAD);
    UploadFile file(*param);
    if (!file.isOpen() || !m_curl) {
        return kExchangeUnknown;
    }
    const std::unique_ptr<curl_mime, FormFree> form(curl_mime_init(m_curl.get()));
    addFormParts(form.get());
    curl_mimepart* const part = curl_mime_addpart(form.get());
    curl_mime_name(part, param->m_key.c_str());
    curl_mime_data_cb(part, file.length(), &UploadFile::read, nullptr, nullptr, &file);
    curl_mime_filename(part, bareName(param->m_filePath).c_str());
    curl_mime_type(part, "application/octet-stream");
    curl_easy_setopt(m_curl.get(), CURLOPT_MIMEPOST, form.get());
    const int code = performInMemory(httpCode);
    return cancelled() ? kExchangeCancelled : code;
}

// The values go as addParam() has escaped them.
void HttpClient::addFormParts(curl_mime* form) {
    for (const auto& [key, value] : m_param) {
        curl_mimepart* const part = curl_mime_addpart(form);
        curl_mime_name(part, key.c_str());
        curl_mime_data(part, value.data(), value.size());
        curl_mime_type(part, "text/plain");
    }
}

int HttpClient::performPutUpload(long* httpCode) {
    UploadFileParm* const param = uploadParam();
    if (!param) {
        VLOX_LOG(3, "no file to upload");
        return kExchangeInvalidArgument;
    }
    UploadFile file(*param);
    if (!file.isOpen()) {
        return kExchangeUnknown;
    }
    CURL* const curl = m_curl.get();
    curl_easy_setopt(curl, CURLOPT_UPLOAD, 1L);
    curl_easy_setopt(curl, CURLOPT_READFUNCTION, &UploadFile::read);
    curl_easy_setopt(curl, CURLOPT_READDATA, &file);
    curl_easy_setopt(curl, CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(file.length()));
    curl_easy_setopt(curl, CURLOPT_LOW_SPEED_LIMIT, kLowSpeedBytes);
    curl_easy_setopt(curl, CURLOPT_LOW_SPEED_TIME, kLowSpeedSeconds);
    return performInMemory(httpCode);
}

int HttpClient::httpPerformDownload(long* httpCode) {
    const DownloadFileParm* const param = downloadParam();
    if (!param) {
        VLOX_LOG(3, "no file to download to");
        return kExchangeInvalidArgument;
    }
    ReceivedData received(param->m_filePath.c_str(), this, DATA_TYPE_FILE);
    curl_easy_setopt(m_curl.get(), CURLOPT_WRITEDATA, &received);
    curl_easy_setopt(m_curl.get(), CURLOPT_WRITEFUNCTION, &HttpClient::httpRecvDataCallback);
    watchProgress(FILE_OPERATE_DOWNLOAD);
    const long status = transfer(httpCode);
    received.clearData();
    if (m_curlCode != CURLE_OK) {
        const int code = parseHttpResult(m_curlCode);
        return cancelled() ? kExchangeCancelled : code;
    }
    return judgeDownload(status);
}

int HttpClient::judgeDownload(long status) {
    const std::string contentType = getContentType();
    VLOX_LOG(2, "curl result. contentType=%s", contentType.c_str());
    if ((status == 200 || status == 206) && contentType != kJsonType) {
        return cancelled() ? kExchangeCancelled : 0;
    }
    if (!acceptedStatus(status)) {
        VLOX_LOG(4, "http fail httpCode = %d", static_cast<int>(status));
        return kExchangeUnknown;
    }
    return takeFailureFromFile(m_fileParam->m_filePath);
}

// The server has sent a failure's JSON text where the file was due.
int HttpClient::takeFailureFromFile(const std::string& path) {
    int result = kExchangeUnknown;
    std::string text;
    if (FileUtil::readFileContent(path, text) != 0) {
        VLOX_LOG(2, "readFileContent failed. fileName=%s", path.c_str());
    } else {
        setResultData(text);
        rapidjson::Document failure;
        std::string code;
        if (RapidJsonUtils::parse(text, failure) &&
            RapidJsonUtils::getMemberString(failure, PARA_CODE, code)) {
            result = static_cast<int>(std::strtol(code.c_str(), nullptr, 10));
        }
    }
    FileUtil::remove(path);
    return result;
}

int HttpClient::reportProgress(int percent, int& last) {
    if (cancelled()) {
        VLOX_LOG(2, "canceld");
        return -1;
    }
    if (percent <= 99 && percent > last) {
        m_progressCallback(percent);
        last = percent;
    }
    return 0;
}

// libcurl's progress callbacks. What the caller's function throws must not pass through libcurl's frames: it
// ends the transfer and is thrown on behind it.
struct HttpClient::Progress {
    static int upload(void* client, curl_off_t, curl_off_t, curl_off_t total, curl_off_t done) {
        auto& self = *static_cast<HttpClient*>(client);
        return guarded(self,
                       [&] { return self.reportProgress(percentOf(done, total), self.m_uploadProgress); });
    }

    // A resumed download reports over the whole file.
    static int download(void* client, curl_off_t total, curl_off_t done, curl_off_t, curl_off_t) {
        auto& self = *static_cast<HttpClient*>(client);
        return guarded(self, [&] {
            const int64 start = self.getContentRange();
            return self.reportProgress(percentOf(withStart(done, start), withStart(total, start)),
                                       self.m_downloadProgress);
        });
    }

    template <typename Work>
    static int guarded(HttpClient& self, Work work) {
        try {
            return work();
        } catch (...) {
            self.m_callersException = std::current_exception();
            return -1;
        }
    }
};

void HttpClient::watchProgress(FileOperateType direction) {
    CURL* const curl = m_curl.get();
    curl_easy_setopt(curl, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(curl, CURLOPT_XFERINFOFUNCTION,
                     direction == FILE_OPERATE_UPLOAD ? &Progress::upload : &Progress::download);
    curl_easy_setopt(curl, CURLOPT_XFERINFODATA, this);
    curl_easy_setopt(curl, CURLOPT_LOW_SPEED_LIMIT, kLowSpeedBytes);
    curl_easy_setopt(curl, CURLOPT_LOW_SPEED_TIME, kLowSpeedSeconds);
}

std::size_t HttpClient::httpRecvDataCallback(char* buffer, std::size_t size, std::size_t count, void* data) {
    const auto& received = *static_cast<ReceivedData*>(data);
    if (received.getType() == DATA_TYPE_STRING) {
        try {
            static_cast<std::string*>(received.getData())->append(buffer, size * count);
        } catch (const std::exception&) {
            return 0;
        }
    } else if (received.getType() == DATA_TYPE_FILE) {
        if (received.getHttpClient()->cancelled()) {
            VLOX_LOG(2, "canceld");
            return 0;
        }
        if (!received.getData()) {
            VLOX_LOG(3, "fptr is null");
            return 0;
        }
        return std::fwrite(buffer, 1, size * count, static_cast<std::FILE*>(received.getData()));
    }
    return size * count;
}

}  // namespace vloxlib
