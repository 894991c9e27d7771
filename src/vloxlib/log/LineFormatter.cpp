#include "vloxlib/log/LineFormatter.h"

#include <spdlog/details/fmt_helper.h>
#include <spdlog/details/os.h>

#include <cstdint>
#include <cstring>
#include <string>

namespace vloxlib {

namespace {

using spdlog::details::fmt_helper::append_int;
using spdlog::details::fmt_helper::append_string_view;
using spdlog::details::fmt_helper::pad3;
using spdlog::details::fmt_helper::time_fraction;

constexpr unsigned char kDelete = 0x7f;
constexpr unsigned char kLeadOfC1 = 0xc2;  // UTF-8 of U+0080 to U+009F, and of harmless characters

// Eight bytes at once: nearly all texts have nothing in them.
std::uint64_t eightTimes(unsigned char byte) { return byte * 0x0101010101010101U; }
std::uint64_t hasZero(std::uint64_t bytes) { return (bytes - eightTimes(1)) & ~bytes & eightTimes(0x80); }
std::uint64_t mayHaveControl(std::uint64_t bytes) {
    return ((bytes - eightTimes(' ')) & ~bytes & eightTimes(0x80)) | hasZero(bytes ^ eightTimes(kDelete)) |
           hasZero(bytes ^ eightTimes(kLeadOfC1));
}

bool mayHaveControl(spdlog::string_view_t text) {
    std::uint64_t found = 0;
    std::uint64_t bytes = 0;
    std::size_t at = 0;
    for (; at + sizeof bytes <= text.size(); at += sizeof bytes) {
        std::memcpy(&bytes, text.data() + at, sizeof bytes);
        found |= mayHaveControl(bytes);
    }
    bytes = eightTimes(' ');
    if (at < text.size()) {
        std::memcpy(&bytes, text.data() + at, text.size() - at);
    }
    return (found | mayHaveControl(bytes)) != 0;
}

void appendEscaped(unsigned char control, spdlog::memory_buf_t& to) {
    constexpr char kDigits[] = "0123456789abcdef";
    append_string_view("\\x", to);
    to.push_back(kDigits[control >> 4]);
    to.push_back(kDigits[control & 0xf]);
}

// A line break at the very end begins no line of the text.
void appendText(spdlog::string_view_t text, spdlog::memory_buf_t& to) {
    if (!mayHaveControl(text)) {
        append_string_view(text, to);
        return;
    }
    for (std::size_t at = 0; at < text.size(); ++at) {
        const auto byte = static_cast<unsigned char>(text.data()[at]);
        const bool isLast = at + 1 == text.size();
        const auto next = static_cast<unsigned char>(isLast ? 0 : text.data()[at + 1]);
        if (byte == '\n') {
            append_string_view(isLast ? "\n" : "\n\t", to);
        } else if ((byte < ' ' && byte != '\t') || byte == kDelete) {
            appendEscaped(byte, to);
        } else if (byte == kLeadOfC1 && 0x80 <= next && next < 0xa0) {
            appendEscaped(next, to);
            ++at;
        } else {
            to.push_back(static_cast<char>(byte));
        }
    }
}

}  // namespace

LineFormatter::LineFormatter()
    : m_dateFormatter("%Y-%m-%d %H:%M:%S.", spdlog::pattern_time_type::local, std::string()) {}

void LineFormatter::format(const spdlog::details::log_msg& line, spdlog::memory_buf_t& to) {
    const auto second = std::chrono::duration_cast<std::chrono::seconds>(line.time.time_since_epoch());
    if (second != m_second) {
        m_date.clear();
        m_dateFormatter.format(line, m_date);
        m_second = second;
    }
    append_string_view(spdlog::string_view_t(m_date.data(), m_date.size()), to);
    pad3(static_cast<std::uint32_t>(time_fraction<std::chrono::milliseconds>(line.time).count()), to);
    append_string_view(" [", to);
    append_string_view(spdlog::level::to_short_c_str(line.level), to);
    append_string_view("] [", to);
    append_int(line.thread_id, to);
    append_string_view("] [", to);
    if (!line.source.empty()) {
        append_string_view(line.source.funcname, to);
    }
    to.push_back(' ');
    if (!line.source.empty()) {
        append_int(line.source.line, to);
    }
    append_string_view("] ", to);
    appendText(line.payload, to);
    append_string_view(spdlog::details::os::default_eol, to);
}

std::unique_ptr<spdlog::formatter> LineFormatter::clone() const { return std::make_unique<LineFormatter>(); }

}  // namespace vloxlib
