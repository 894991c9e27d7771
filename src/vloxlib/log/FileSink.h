#ifndef VLOXLIB_LOG_FILESINK_H
#define VLOXLIB_LOG_FILESINK_H

#include <spdlog/sinks/sink.h>

#include <chrono>
#include <cstddef>
#include <ctime>
#include <memory>
#include <string>
#include <system_error>
#include <utility>

#include "platform/AppendFile.h"

namespace vloxlib {

/// @brief A sink of spdlog that gathers lines and writes whole ones only, into a file that may change.
///
/// Where the file can't be opened the one before stays in use; without any, lines are lost. An opening is
/// tried again every few seconds, by the times of the lines, and the next line in a file tells how many were
/// lost. A file that was removed or renamed is made again at the next flush. Threads: one at a time. Errors:
/// only the constructors throw.
class FileSink : public spdlog::sinks::sink {
public:
    void log(const spdlog::details::log_msg& line) final;
    void flush() final { writeOut(m_lines.size()); }
    void set_pattern(const std::string& pattern) final;
    void set_formatter(std::unique_ptr<spdlog::formatter> formatter) final;

    /// Forgets what isn't written yet: it is another process's.
    void discard() { m_lines.clear(); }
    /// Forgets a line within which the thread that wrote it was ended.
    void discardUnfinished();
    /// Whether a day has ended in an ordinary way since the last call, and not by a clock that was set.
    bool takeEndOfDay() { return std::exchange(m_dayEnded, false); }

protected:
    /// @throws spdlog::spdlog_ex when the file can't be opened
    void start(const std::string& path);
    /// Whether the line, of so many bytes, has to go to another file than those before it.
    virtual bool belongsElsewhere(const spdlog::details::log_msg& line, std::size_t size) = 0;
    /// All earlier lines are written: lets later ones go elsewhere, by moveTo().
    virtual void moveOn() = 0;
    void moveTo(const std::string& path);
    void closeFile() { m_file.reset(); }
    std::size_t fileSize() const { return m_file ? m_file->size() : 0; }
    void endDay() { m_dayEnded = true; }

private:
    bool open();
    void findFile();
    void writeOut(std::size_t size);
    std::string textAhead();
    std::size_t append(const char* text, std::size_t size);

    std::unique_ptr<spdlog::formatter> m_formatter;
    spdlog::memory_buf_t m_lines;  // whole lines that aren't written yet
    std::string m_path;            // where lines should go
    std::unique_ptr<platform::AppendFile> m_file;
    spdlog::log_clock::time_point m_lineTime;  // of the last line
    spdlog::log_clock::time_point m_failedAt;  // when an opening failed last
    std::error_code m_failure;
    std::size_t m_lost = 0;
    bool m_openFailed = false;
    bool m_torn = false;  // the file ends within a line
    bool m_dayEnded = false;
};

/// @brief A file for each day, with the day of its lines in its name: "dir/sdk_2019-09-26.log".
class DailySink : public FileSink {
public:
    explicit DailySink(std::string path);

protected:
    bool belongsElsewhere(const spdlog::details::log_msg& line, std::size_t size) override;
    void moveOn() override;

private:
    bool readDay(spdlog::log_clock::time_point time);
    std::string pathOfDay() const;

    const std::string m_basePath;
    std::chrono::seconds m_second{-1};  // since the epoch
    std::tm m_day{};                    // of m_second
    bool m_isNextDay = false;
};

/// @brief A file of limited size; full ones get a number, "dir/sdk.1.log" the newest, and the oldest go.
class RotatingSink : public FileSink {
public:
    RotatingSink(std::string path, std::size_t maxSize, std::size_t maxFiles);

protected:
    bool belongsElsewhere(const spdlog::details::log_msg& line, std::size_t size) override;
    void moveOn() override;

private:
    std::string pathOf(std::size_t number) const;

    const std::string m_basePath;
    const std::size_t m_maxSize;
    const std::size_t m_maxFiles;
    std::size_t m_size = 0;
};

}  // namespace vloxlib

#endif
