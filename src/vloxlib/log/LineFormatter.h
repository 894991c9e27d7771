#ifndef VLOXLIB_LOG_LINEFORMATTER_H
#define VLOXLIB_LOG_LINEFORMATTER_H

#include <spdlog/pattern_formatter.h>

#include <chrono>
#include <memory>

namespace vloxlib {

/// @brief Formats as "%Y-%m-%d %H:%M:%S.%e [%^%L%$] [%t] [%! %#] %v" does, several times as fast: the date is
/// formatted once per second, and the rest without going from flag to flag.
///
/// A text can't pass for a line of its own: what follows a line break in it begins with a tab, and control
/// characters are written as "\\x1b" and the like.
/// Threads: one at a time, as sinks use it.
class LineFormatter : public spdlog::formatter {
public:
    LineFormatter();
    void format(const spdlog::details::log_msg& line, spdlog::memory_buf_t& to) override;
    std::unique_ptr<spdlog::formatter> clone() const override;

private:
    spdlog::pattern_formatter m_dateFormatter;
    spdlog::memory_buf_t m_date;        // of m_second
    std::chrono::seconds m_second{-1};  // since the epoch
};

}  // namespace vloxlib

#endif
