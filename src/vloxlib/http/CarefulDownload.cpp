#include "vloxlib/http/CarefulDownload.h"

#include <algorithm>

#include "vloxlib/NativeCodes.h"
#include "vloxlib/http/CurlExchange.h"
#include "vloxlib/http/HttpResult.h"
#include "vloxlib/http/UnbufferedFile.h"
#include "vloxlib/log/vloxLog.h"
#include "vloxlib/utility/FileUtil.h"

namespace vloxlib {

KeptPart keptPart(const std::string& path) {
    KeptPart part{readVersionBeside(path)};
    if (!part.version.validator.empty() && FileUtil::isExist(path) == 0) {
        part.length = std::max(FileUtil::getLocalFileLenth(path), int64{0});
    }
    return part;
}

CarefulDownload::CarefulDownload(const std::string& path) : m_path(path), m_kept(keptPart(path)) {}

// In a list of its own: the client's is lent to other exchanges too.
void CarefulDownload::ask(HeaderLines& headers) const {
    if (m_kept.length == 0) {
        return;
    }
    HeaderLines own;
    for (const curl_slist* line = headers.get(); line; line = line->next) {
        appendLine(own, line->data);
    }
    appendLine(own, "Range: bytes=" + std::to_string(m_kept.length) + "-");
    appendLine(own, "If-Range: " + m_kept.version.validator);
    headers = std::move(own);
}

bool CarefulDownload::wants(const ExchangeReply& reply) const {
    return isFileStatus(reply.headers.status()) && !isFailureText(reply.headers);
}

bool CarefulDownload::take(const char* bytes, std::size_t count, const ExchangeReply& reply) {
    if (!m_begun && !begin(reply.headers)) {
        return false;
    }
    if (m_missing >= 0) {
        if (static_cast<int64>(count) > m_missing) {
            return refuse("the reply is longer than it announced");
        }
        m_missing -= static_cast<int64>(count);
    }
    return std::fwrite(bytes, 1, count, m_file.get()) == count;
}

// The version stands there before the first byte, so that a process that is killed leaves no part without it,
// and not before an old file has been emptied, which it would seem to describe.
bool CarefulDownload::begin(const ReplyHeaders& reply) {
    m_begun = true;
    if (!fits(reply) || !openFile()) {
        return false;
    }
    const FileVersion version = versionOf(reply);
    if (m_kept.length == 0 && !version.validator.empty()) {
        writeVersionBeside(m_path, version);
    }
    return true;
}

bool CarefulDownload::fits(const ReplyHeaders& reply) {
    const std::string_view encoding = reply.last("Content-Encoding");
    if (!encoding.empty() && encoding != "identity") {
        return refuse("the reply is encoded");
    }
    if (reply.status() == 206) {
        return fitsAsPart(reply);
    }
    if (m_kept.length > 0) {
        return refuse("the server has another file now, or sends no parts");
    }
    m_length = m_missing = versionOf(reply).length;
    const bool endIsTold = m_missing >= 0 || !reply.last("Transfer-Encoding").empty();
    return endIsTold || refuse("the end of the reply couldn't be told");
}

bool CarefulDownload::fitsAsPart(const ReplyHeaders& reply) {
    const ContentRange range = readContentRange(reply.last("Content-Range"));
    if (range.first != m_kept.length || range.last < range.first || range.total <= range.last) {
        return refuse("the server sends another part");
    }
    if (m_kept.length > 0 && !isSameFile(m_kept.version, versionOf(reply))) {
        return refuse("the server has another file now");
    }
    m_missing = range.last - range.first + 1;
    m_length = range.total;
    return true;
}

bool CarefulDownload::openFile() {
    if (m_kept.length == 0) {
        removeVersionBeside(m_path);
    } else if (FileUtil::getLocalFileLenth(m_path) != m_kept.length) {
        return refuse("the part that was there has changed");
    }
    m_file = openUnbuffered(m_path, m_kept.length > 0 ? "ab" : "wb");
    m_openFailed = !m_file;
    if (m_openFailed) {
        VLOX_LOG(4, "fail to open %s", m_path.c_str());
    }
    return !m_openFailed;
}

bool CarefulDownload::refuse(const char* reason) {
    removeVersionBeside(m_path);
    m_refusal = reason;
    return false;
}

int CarefulDownload::refused(ExchangeReply& reply) const {
    VLOX_LOG(4, "careful download failed: %s, path=%s", m_refusal, m_path.c_str());
    reply.outcome.curlText = m_refusal;
    return native::kUnknown;
}

int CarefulDownload::judge(ExchangeReply& reply, std::optional<std::string>& text) {
    const bool whole = reply.outcome.curlCode == 0;
    if (whole && !m_begun) {
        endWithoutBody(reply);
    }
    const bool closed = closeFile(std::move(m_file));
    if (m_refusal) {
        return refused(reply);
    }
    if (m_openFailed || !closed) {
        return native::kWriteFailed;
    }
    if (!whole) {
        return parseHttpResult(reply.outcome.curlCode);
    }
    if (m_begun) {
        return judgeFile(reply);
    }
    if (!isAccepted(reply)) {
        return refusedStatus(reply);
    }
    text = textOf(reply);
    return codeOfFailure(*text);
}

// An empty file, or nothing behind the part that is there.
void CarefulDownload::endWithoutBody(const ExchangeReply& reply) {
    if (wants(reply)) {
        begin(reply.headers);
    } else if (endsAt(reply.headers, m_kept.length) &&
               (m_kept.length == 0 || m_kept.version.length == m_kept.length)) {
        m_begun = openFile();
    } else if (reply.headers.status() == 416) {
        refuse("the server's file ends ahead of the part that is there");
    }
}

int CarefulDownload::judgeFile(ExchangeReply& reply) {
    const int64 length = FileUtil::getLocalFileLenth(m_path);
    if (m_length > length) {
        m_refusal = "the end of the file is missing";  // and what is there is good
    } else if (m_length >= 0 && m_length < length) {
        refuse("somebody else has written to the file, too");
    } else {
        removeVersionBeside(m_path);
    }
    return m_refusal ? refused(reply) : 0;
}

}  // namespace vloxlib
