#include "vloxlib/http/FileExchange.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <string_view>

#include "platform/FileOpen.h"
#include "vloxlib/NativeCodes.h"
#include "vloxlib/ServiceVocabulary.h"
#include "vloxlib/http/HttpHeaderLine.h"
#include "vloxlib/http/HttpResult.h"
#include "vloxlib/http/OpenFile.h"
#include "vloxlib/log/vloxLog.h"
#include "vloxlib/utility/FileUtil.h"
#include "vloxlib/utility/RapidJsonUtils.h"

namespace vloxlib {

namespace {

constexpr std::string_view kJsonType = "application/json;charset=utf-8";

// Without a buffer: libcurl's pieces are large, and a full disk shows in the write that hits it.
OpenFile openUnbuffered(const std::string& path, const char* mode) {
    OpenFile file(FileUtil::fopen(path, mode));
    if (file) {
        std::setvbuf(file.get(), nullptr, _IONBF, 0);
    }
    return file;
}

// The file of an upload, open for as long as this lives, and how much of what was announced has gone out.
class FileSource : public BodySource {
public:
    explicit FileSource(UploadFileParm& param)
        : m_param(param), m_file(openUnbuffered(param.m_filePath, "rb")) {
        m_param.m_file = m_file.get();
        if (!m_file) {
            VLOX_LOG(2, "file is null, path=%s\n", param.m_filePath.c_str());
            return;
        }
        m_length = param.isSlice() ? std::max(param.m_right - param.m_left, int64{0})
                                   : FileUtil::getLocalFileLenth(param.m_filePath);
    }
    ~FileSource() override { m_param.m_file = nullptr; }
    FileSource(const FileSource&) = delete;
    FileSource& operator=(const FileSource&) = delete;

    bool isOpen() const { return m_file != nullptr; }
    int64 length() const override { return m_length; }

    std::optional<std::size_t> give(char* buffer, std::size_t room) override {
        const std::size_t got = m_param.isSlice() ? readSlice(buffer, room) : readOn(buffer, room);
        m_sent += static_cast<int64>(got);
        if (got == 0 && m_sent < m_length) {  // the server would wait for the rest of what was announced
            VLOX_LOG(3, "file ended early, path=%s", m_param.m_filePath.c_str());
            return std::nullopt;
        }
        return got;
    }

private:
    // The place is taken afresh each time, so that the file's own position doesn't matter.
    std::size_t readSlice(char* buffer, std::size_t room) {
        const int64 remaining = std::max(m_param.m_right - m_param.m_left - m_param.m_readBytes, int64{0});
        if (!platform::seekFile(m_file.get(), m_param.m_left + m_param.m_readBytes)) {
            return 0;
        }
        const auto wanted = static_cast<std::size_t>(std::min(remaining, static_cast<int64>(room)));
        const std::size_t got = readOn(buffer, wanted);
        m_param.m_readBytes += static_cast<int64>(got);
        return got;
    }

    std::size_t readOn(char* buffer, std::size_t room) { return std::fread(buffer, 1, room, m_file.get()); }

    UploadFileParm& m_param;
    OpenFile m_file;
    int64 m_length = -1;
    int64 m_sent = 0;
};

// The file of a download.
class FileSink : public BodySink {
public:
    explicit FileSink(const DownloadFileParm& param)
        : m_file(openUnbuffered(param.m_filePath, param.m_mode == 1 ? "ab+" : "wb")) {
        if (!m_file) {
            VLOX_LOG(4, "fail to open %s", param.m_filePath.c_str());
        }
    }

    bool take(const char* bytes, std::size_t count, const ExchangeReply&) override {
        if (!m_file) {
            VLOX_LOG(3, "fptr is null");
            return false;
        }
        return std::fwrite(bytes, 1, count, m_file.get()) == count;
    }

private:
    OpenFile m_file;
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

void report(int percent, const PercentReport& percents) {
    if (percent <= 99 && percent > percents.last) {
        percents.tell(percent);
        percents.last = percent;
    }
}

// The server has sent a failure's JSON text where the file was due.
int takeFailureFromFile(const std::string& path, std::optional<std::string>& text) {
    int result = native::kUnknown;
    std::string content;
    if (FileUtil::readFileContent(path, content) != 0) {
        VLOX_LOG(2, "readFileContent failed. fileName=%s", path.c_str());
    } else {
        rapidjson::Document failure;
        std::string code;
        if (RapidJsonUtils::parse(content, failure) &&
            RapidJsonUtils::getMemberString(failure, PARA_CODE, code)) {
            result = static_cast<int>(std::strtol(code.c_str(), nullptr, 10));
        }
        text = std::move(content);
    }
    FileUtil::remove(path);
    return result;
}

int judgeDownload(const ExchangeReply& reply, const DownloadFileParm& file,
                  std::optional<std::string>& text) {
    if (reply.outcome.curlCode != CURLE_OK) {
        const int code = parseHttpResult(reply.outcome.curlCode);
        return file.m_cancel ? native::kCancelled : code;
    }
    const std::string contentType(reply.headers.last("Content-Type"));
    VLOX_LOG(2, "curl result. contentType=%s", contentType.c_str());
    const long status = reply.outcome.status;
    if ((status == 200 || status == 206) && contentType != kJsonType) {
        return file.m_cancel ? native::kCancelled : 0;
    }
    return isAccepted(reply) ? takeFailureFromFile(file.m_filePath, text) : refusedStatus(reply);
}

}  // namespace

FileResult uploadFile(CurlExchange& exchange, ExchangeRequest request, UploadFileParm& file,
                      PercentReport percents) {
    FileSource source(file);
    if (!source.isOpen()) {
        return {native::kUnknown, std::nullopt, std::nullopt};
    }
    request.source = &source;
    request.partName = file.m_key;
    request.fileName = bareName(file.m_filePath);
    request.cancelled = &file.m_cancel;
    request.dropStalled = true;
    const bool asForm = request.method == HTTP_METHOD_POST;
    if (asForm) {
        request.progress = [&](const TransferProgress& progress, const ExchangeReply&) {
            report(percentOf(progress.uploaded, progress.uploadTotal), percents);
        };
    }
    FileResult result{0, exchange.run(request), std::nullopt};
    if (result.reply->thrown) {
        return result;
    }
    result.code = resultOf(*result.reply);
    if (result.code == 0) {
        result.text = textOf(*result.reply);
    }
    if (asForm && file.m_cancel) {
        result.code = native::kCancelled;
    }
    return result;
}

FileResult downloadFile(CurlExchange& exchange, ExchangeRequest request, const DownloadFileParm& file,
                        PercentReport percents) {
    FileResult result{0, std::nullopt, std::nullopt};
    {
        FileSink sink(file);
        int64 start = 0;  // a resumed download reports over the whole file
        request.sink = &sink;
        request.cancelled = &file.m_cancel;
        request.dropStalled = true;
        request.progress = [&](const TransferProgress& progress, const ExchangeReply& reply) {
            start = start != 0 ? start : startOfContentRange(reply.headers.last("Content-Range"));
            report(percentOf(withStart(progress.downloaded, start), withStart(progress.downloadTotal, start)),
                   percents);
        };
        result.reply = exchange.run(request);
    }
    if (!result.reply->thrown) {
        result.code = judgeDownload(*result.reply, file, result.text);
    }
    return result;
}

}  // namespace vloxlib
