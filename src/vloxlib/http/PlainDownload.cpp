#include "vloxlib/http/PlainDownload.h"

#include "vloxlib/NativeCodes.h"
#include "vloxlib/http/HttpResult.h"
#include "vloxlib/http/UnbufferedFile.h"
#include "vloxlib/log/vloxLog.h"
#include "vloxlib/utility/FileUtil.h"

namespace vloxlib {

PlainDownload::PlainDownload(const DownloadFileParm& param)
    : m_param(param), m_file(openUnbuffered(param.m_filePath, param.m_mode == 1 ? "ab+" : "wb")) {
    if (!m_file) {
        VLOX_LOG(4, "fail to open %s", param.m_filePath.c_str());
    }
}

// Without a file no body is any use.
bool PlainDownload::wants(const ExchangeReply& reply) const {
    return !m_file || isFileStatus(reply.headers.status());
}

bool PlainDownload::take(const char* bytes, std::size_t count, const ExchangeReply&) {
    if (!m_file) {
        VLOX_LOG(3, "fptr is null");
        return false;
    }
    return std::fwrite(bytes, 1, count, m_file.get()) == count;
}

int PlainDownload::judge(ExchangeReply& reply, std::optional<std::string>& text) {
    const bool opened = m_file != nullptr;
    const bool closed = closeFile(std::move(m_file));
    if (reply.outcome.curlCode != 0) {
        return parseHttpResult(reply.outcome.curlCode);
    }
    if (!opened || !closed) {
        return native::kWriteFailed;
    }
    const std::string contentType(reply.headers.last("Content-Type"));
    VLOX_LOG(2, "curl result. contentType=%s", contentType.c_str());
    const bool isFile = isFileStatus(reply.outcome.status) && !isFailureText(reply.headers);
    const bool isEmpty = m_param.m_offset == 0 && endsAt(reply.headers, 0) &&
                         FileUtil::getLocalFileLenth(m_param.m_filePath) == 0;
    if (isFile || isEmpty) {
        return 0;
    }
    return isAccepted(reply) ? takeFailure(reply, text) : refusedStatus(reply);
}

// The server has sent a failure's JSON text where the file was due.
int PlainDownload::takeFailure(ExchangeReply& reply, std::optional<std::string>& text) const {
    const std::string& path = m_param.m_filePath;
    std::string failure = textOf(reply);
    if (isFileStatus(reply.outcome.status) && FileUtil::readFileContent(path, failure) != 0) {
        VLOX_LOG(2, "readFileContent failed. fileName=%s", path.c_str());
        FileUtil::remove(path);
        return native::kUnknown;
    }
    FileUtil::remove(path);
    const int code = codeOfFailure(failure);
    text = std::move(failure);
    return code;
}

}  // namespace vloxlib
