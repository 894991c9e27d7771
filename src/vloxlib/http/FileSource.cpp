#include "vloxlib/http/FileSource.h"

#include <algorithm>

#include "platform/FileOpen.h"
#include "vloxlib/http/UnbufferedFile.h"
#include "vloxlib/log/vloxLog.h"
#include "vloxlib/utility/FileUtil.h"

namespace vloxlib {

FileSource::FileSource(UploadFileParm& param)
    : m_param(param), m_file(openUnbuffered(param.m_filePath, "rb")) {
    if (param.isSlice()) {
        const int64 size = std::max(param.m_right - param.m_left, int64{0});
        const int64 leftOut = std::clamp(param.m_readBytes, int64{0}, size);
        m_start = param.m_left + leftOut;
        m_length = size - leftOut;
    } else if (m_file) {
        m_length = FileUtil::getLocalFileLenth(param.m_filePath);
    }
    if (m_length < 0) {
        m_file.reset();
    }
    m_param.m_file = m_file.get();
    if (!m_file) {
        VLOX_LOG(2, "file is null, path=%s\n", param.m_filePath.c_str());
    }
}

// Whoever runs the exchange again sends the same bytes again.
FileSource::~FileSource() {
    noteSent(0);
    m_param.m_file = nullptr;
}

// The place is taken afresh each time, so that the file's own position doesn't matter.
std::optional<std::size_t> FileSource::give(char* buffer, std::size_t room) {
    const auto wanted = static_cast<std::size_t>(std::min(static_cast<int64>(room), m_length - m_sent));
    if (wanted == 0) {
        return 0;
    }
    const bool placed = platform::seekFile(m_file.get(), m_start + m_sent);
    const std::size_t got = placed ? std::fread(buffer, 1, wanted, m_file.get()) : 0;
    if (got == 0) {
        VLOX_LOG(3, "file ended early, path=%s", m_param.m_filePath.c_str());
        return std::nullopt;
    }
    noteSent(m_sent + static_cast<int64>(got));
    return got;
}

bool FileSource::goTo(int64 offset) {
    if (offset < 0 || offset > m_length) {
        return false;
    }
    noteSent(offset);
    return true;
}

void FileSource::noteSent(int64 sent) {
    if (m_param.isSlice()) {
        m_param.m_readBytes += sent - m_sent;
    }
    m_sent = sent;
}

}  // namespace vloxlib
