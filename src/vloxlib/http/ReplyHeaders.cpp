#include "vloxlib/http/ReplyHeaders.h"

#include <charconv>

#include "vloxlib/http/HttpHeaderLine.h"

namespace vloxlib {

namespace {

constexpr std::string_view kStatusLine = "HTTP/";
constexpr std::size_t kUsualHead = 512;  // bytes

long statusOf(std::string_view line) {
    line.remove_prefix(std::min(line.find(' '), line.size() - 1) + 1);
    long status = 0;
    std::from_chars(line.data(), line.data() + line.size(), status);
    return status;
}

}  // namespace

void ReplyHeaders::take(std::string_view line) {
    insertHeaderLine(line, all);
    if (line.substr(0, kStatusLine.size()) == kStatusLine) {
        m_last.clear();
        m_status = statusOf(line);
        m_headEnded = false;
    } else if (!m_headEnded) {
        takeIntoLast(line);
    }
}

void ReplyHeaders::takeIntoLast(std::string_view line) {
    line = line.substr(0, line.find_last_not_of("\r\n") + 1);
    m_headEnded = line.empty();
    if (!m_headEnded) {
        m_last.reserve(kUsualHead);
        m_last.append(line).push_back('\n');
    }
}

std::string_view ReplyHeaders::last(std::string_view name) const {
    std::string_view rest = m_last;
    while (!rest.empty()) {
        const std::size_t end = rest.find('\n');
        const HeaderLine header = readHeaderLine(rest.substr(0, end));
        if (isSameName(header.name, name)) {
            return header.value;
        }
        rest.remove_prefix(end + 1);
    }
    return {};
}

}  // namespace vloxlib
