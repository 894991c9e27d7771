#include "vloxlib/log/GenericLogger.h"

#include <spdlog/details/registry.h>
#include <spdlog/sinks/daily_file_sink.h>
#include <spdlog/sinks/rotating_file_sink.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <utility>
#include <vector>

#include "platform/DebugOutput.h"
#include "vloxlib/log/LineFormatter.h"
#include "vloxlib/log/LogWorker.h"

namespace vloxlib {

namespace {

constexpr int kRotatingFiles = 1;
// The worker's lock guards the sinks, which are so of spdlog's kind without locks. Flushing is the worker's
// own business; the stream only gathers what lies between two flushes.
constexpr std::size_t kFileBuffer = 65536;

spdlog::sink_ptr makeFileSink(const std::string& path, int sinkMode, int maxFiles, int maxFileSize) {
    const spdlog::filename_t file = std::filesystem::u8path(path).native();
    spdlog::file_event_handlers handlers;
    handlers.after_open = [](const spdlog::filename_t&, std::FILE* stream) {
        std::setvbuf(stream, nullptr, _IOFBF, kFileBuffer);
    };
    if (sinkMode == kRotatingFiles) {
        return std::make_shared<spdlog::sinks::rotating_file_sink_st>(
            file, static_cast<std::size_t>(maxFileSize), static_cast<std::size_t>(maxFiles), false, handlers);
    }
    return std::make_shared<spdlog::sinks::daily_file_sink_st>(file, 0, 0, false, std::uint16_t{0}, handlers);
}

}  // namespace

std::string withSystemSeparators(std::string path) {
    const auto separator = static_cast<char>(std::filesystem::path::preferred_separator);
    std::replace(path.begin(), path.end(), '\\', separator);
    std::replace(path.begin(), path.end(), '/', separator);
    return path;
}

GenericLogger::GenericLogger(const char* name, const char* path, bool debugOutput, int sinkMode, int maxFiles,
                             int maxFileSize)
    : m_name(name == nullptr ? "" : name), m_path(withSystemSeparators(path == nullptr ? "" : path)) {
    if (m_name.empty() || m_path.empty()) {
        return;
    }
    std::vector<spdlog::sink_ptr> sinks;
    if (debugOutput) {
        if (spdlog::sink_ptr debugger = platform::makeDebugOutput()) {
            sinks.push_back(std::move(debugger));
        }
    }
    sinks.push_back(makeFileSink(m_path, sinkMode, maxFiles, maxFileSize));
    for (const spdlog::sink_ptr& sink : sinks) {
        sink->set_formatter(std::make_unique<LineFormatter>());
    }
    LogWorker::instance();
    m_logger = std::make_shared<WorkerLogger>(m_name, std::move(sinks));
    m_logger->set_level(spdlog::level::info);
}

GenericLogger::~GenericLogger() = default;

void GenericLogger::enroll(const GenericLogger* earlier) const {
    auto& registry = spdlog::details::registry::instance();
    if (earlier != nullptr) {
        registry.drop(earlier->name());
    }
    if (m_logger) {
        registry.register_logger(m_logger);
        registry.flush_on(spdlog::level::err);
    }
}

}  // namespace vloxlib
