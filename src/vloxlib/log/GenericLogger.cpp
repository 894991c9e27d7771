#include "vloxlib/log/GenericLogger.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <utility>

#include "platform/DebugOutput.h"
#include "vloxlib/log/FileSink.h"
#include "vloxlib/log/LineFormatter.h"
#include "vloxlib/log/LogWorker.h"

namespace fs = std::filesystem;

namespace vloxlib {

namespace {

constexpr int kRotatingFiles = 1;

std::shared_ptr<FileSink> makeFileSink(const std::string& path, int sinkMode, int maxFiles, int maxFileSize) {
    if (sinkMode == kRotatingFiles) {
        return std::make_shared<RotatingSink>(path, static_cast<std::size_t>(maxFileSize),
                                              static_cast<std::size_t>(maxFiles));
    }
    return std::make_shared<DailySink>(path);
}

// Later files belong beside the first one, whatever the current directory is by then.
std::string fullPath(const std::string& path) {
    std::error_code failure;
    const fs::path full = fs::absolute(fs::u8path(path), failure);
    return failure ? path : full.u8string();
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
    m_path = fullPath(m_path);
    const spdlog::sink_ptr debugger = debugOutput ? platform::makeDebugOutput() : nullptr;
    m_logger = std::make_shared<WorkerLogger>(m_name, debugger,
                                              makeFileSink(m_path, sinkMode, maxFiles, maxFileSize));
    m_logger->set_formatter(std::make_unique<LineFormatter>());
    m_logger->set_level(spdlog::level::info);
    LogWorker::instance();
}

GenericLogger::~GenericLogger() = default;

}  // namespace vloxlib
