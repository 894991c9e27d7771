#include "vloxlib/log/FileSink.h"

#include <spdlog/pattern_formatter.h>

#include <algorithm>
#include <utility>

namespace vloxlib {

namespace {

constexpr std::size_t kMostUnwritten = 65536;
constexpr std::chrono::seconds kRetryAfter(5);

}  // namespace

void FileSink::set_pattern(const std::string& pattern) {
    set_formatter(std::make_unique<spdlog::pattern_formatter>(pattern));
}

void FileSink::set_formatter(std::unique_ptr<spdlog::formatter> formatter) {
    m_formatter = std::move(formatter);
}

void FileSink::log(const spdlog::details::log_msg& line) {
    const std::size_t ahead = m_lines.size();
    m_formatter->format(line, m_lines);
    m_lineTime = line.time;
    if (belongsElsewhere(line, m_lines.size() - ahead)) {
        writeOut(ahead);
        moveOn();
    }
    if (m_lines.size() >= kMostUnwritten) {
        flush();
    }
}

void FileSink::discardUnfinished() {
    while (m_lines.size() > 0 && m_lines[m_lines.size() - 1] != '\n') {
        m_lines.resize(m_lines.size() - 1);
    }
}

void FileSink::start(const std::string& path) {
    m_path = path;
    if (!open()) {
        spdlog::throw_spdlog_ex("Failed opening file " + path + " for writing: " + m_failure.message());
    }
}

void FileSink::moveTo(const std::string& path) {
    m_path = path;
    findFile();
}

// The file before is closed only when the new one is open.
bool FileSink::open() {
    const auto sinceFailure = m_lineTime - m_failedAt;
    if (m_openFailed && -kRetryAfter < sinceFailure && sinceFailure < kRetryAfter) {
        return false;
    }
    try {
        m_file = std::make_unique<platform::AppendFile>(m_path);
        m_openFailed = false;
        m_torn = false;
    } catch (const std::system_error& error) {
        m_failure = error.code();
        m_failedAt = m_lineTime;
        m_openFailed = true;
    }
    return !m_openFailed;
}

void FileSink::findFile() {
    const bool isRightFile = m_file && m_file->path() == m_path && m_file->isInPlace();
    if (!isRightFile && !open() && m_file && m_file->isRemoved()) {
        closeFile();
    }
}

void FileSink::writeOut(std::size_t size) {
    if (size == 0) {
        return;
    }
    findFile();
    const std::string ahead = textAhead();
    std::size_t done = 0;
    if (append(ahead.data(), ahead.size()) == ahead.size()) {
        m_lost = 0;
        done = append(m_lines.data(), size);
    }
    m_lost += static_cast<std::size_t>(std::count(m_lines.begin() + done, m_lines.begin() + size, '\n'));
    std::copy(m_lines.begin() + size, m_lines.end(), m_lines.begin());
    m_lines.resize(m_lines.size() - size);
}

// What has to stand in the file before lines can go on.
std::string FileSink::textAhead() {
    spdlog::memory_buf_t text;
    if (m_torn) {
        text.push_back('\n');
    }
    if (m_lost > 0) {
        const std::string told = fmt::format("{} log lines were lost: {}", m_lost, m_failure.message());
        const spdlog::source_loc here(__FILE__, __LINE__, "vloxlib::FileSink::textAhead");
        m_formatter->format(spdlog::details::log_msg(m_lineTime, here, "", spdlog::level::err, told), text);
    }
    return fmt::to_string(text);
}

std::size_t FileSink::append(const char* text, std::size_t size) {
    if (!m_file || size == 0) {
        return 0;
    }
    const std::size_t done = m_file->append(text, size, m_failure);
    if (done > 0) {
        m_torn = text[done - 1] != '\n';
    }
    return done;
}

}  // namespace vloxlib
