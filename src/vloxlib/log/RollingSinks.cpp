// When a log goes on in another file, and in which one.
#include <spdlog/details/os.h>
#include <spdlog/sinks/daily_file_sink.h>
#include <spdlog/sinks/rotating_file_sink.h>

#include <filesystem>
#include <utility>

#include "vloxlib/log/FileSink.h"

namespace fs = std::filesystem;

namespace vloxlib {

namespace {

spdlog::filename_t nativeName(const std::string& path) { return fs::u8path(path).native(); }

std::tm localTime(std::chrono::seconds sinceEpoch) {
    return spdlog::details::os::localtime(static_cast<std::time_t>(sinceEpoch.count()));
}

bool isSameDay(const std::tm& one, const std::tm& other) {
    return one.tm_yday == other.tm_yday && one.tm_year == other.tm_year;
}

}  // namespace

DailySink::DailySink(std::string path) : m_basePath(std::move(path)) {
    readDay(spdlog::log_clock::now());
    start(pathOfDay());
}

// @return whether the time lies in another day than the one before.
bool DailySink::readDay(spdlog::log_clock::time_point time) {
    const auto second = std::chrono::duration_cast<std::chrono::seconds>(time.time_since_epoch());
    if (second == m_second) {
        return false;
    }
    m_second = second;
    const std::tm before = std::exchange(m_day, localTime(second));
    const bool isOtherDay = !isSameDay(before, m_day);
    m_isNextDay = isOtherDay && isSameDay(before, localTime(m_second - std::chrono::hours(24)));
    return isOtherDay;
}

std::string DailySink::pathOfDay() const {
    const auto name = spdlog::sinks::daily_filename_calculator::calc_filename(nativeName(m_basePath), m_day);
    return fs::path(name).u8string();
}

bool DailySink::belongsElsewhere(const spdlog::details::log_msg& line, std::size_t /*size*/) {
    return readDay(line.time);
}

void DailySink::moveOn() {
    moveTo(pathOfDay());
    if (m_isNextDay) {
        endDay();
    }
}

RotatingSink::RotatingSink(std::string path, std::size_t maxSize, std::size_t maxFiles)
    : m_basePath(std::move(path)), m_maxSize(maxSize), m_maxFiles(maxFiles) {
    start(m_basePath);
    m_size = fileSize();
}

std::string RotatingSink::pathOf(std::size_t number) const {
    const auto name = spdlog::sinks::rotating_file_sink_st::calc_filename(nativeName(m_basePath), number);
    return fs::path(name).u8string();
}

bool RotatingSink::belongsElsewhere(const spdlog::details::log_msg& /*line*/, std::size_t size) {
    m_size += size;
    if (m_size <= m_maxSize || m_size == size) {
        return false;
    }
    m_size = size;
    return true;
}

// A name that can't be given leaves the lines in the file that they are in, until it is full once more.
void RotatingSink::moveOn() {
    closeFile();
    for (std::size_t number = m_maxFiles; number > 0; --number) {
        std::error_code ignored;
        fs::rename(fs::u8path(pathOf(number - 1)), fs::u8path(pathOf(number)), ignored);
    }
    moveTo(m_basePath);
}

}  // namespace vloxlib
