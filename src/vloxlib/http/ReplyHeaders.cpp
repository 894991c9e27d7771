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
    takeIntoAll(line);
    if (line.substr(0, kStatusLine.size()) == kStatusLine) {
        m_last.clear();
        m_status = statusOf(line);
        m_headEnded = false;
    } else if (!m_headEnded) {
        takeIntoLast(line);
    }
}

// A folded line with a colon counts as a header here, since it always has.
void ReplyHeaders::takeIntoAll(std::string_view line) {
    const std::string_view rest = continuationOf(line);
    if (m_open && !rest.empty() && rest.find(':') == std::string_view::npos) {
        m_open->append(1, ' ').append(rest);
    } else {
        m_open = insertHeaderLine(line, all);
    }
}

void ReplyHeaders::takeIntoLast(std::string_view line) {
    const std::string_view rest = continuationOf(line);
    if (!m_last.empty() && !rest.empty()) {
        m_last.back() = ' ';
        m_last.append(rest).push_back('\n');
        return;
    }
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
