#include "vloxlib/log/LineFormatter.h"

#include <spdlog/details/fmt_helper.h>
#include <spdlog/details/os.h>

#include <cstdint>
#include <string>

namespace vloxlib {

namespace {

using spdlog::details::fmt_helper::append_int;
using spdlog::details::fmt_helper::append_string_view;
using spdlog::details::fmt_helper::pad3;
using spdlog::details::fmt_helper::time_fraction;

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
    append_string_view(line.payload, to);
    append_string_view(spdlog::details::os::default_eol, to);
}

std::unique_ptr<spdlog::formatter> LineFormatter::clone() const { return std::make_unique<LineFormatter>(); }

}  // namespace vloxlib
