#include "vloxlib/log/vloxLog.h"

#include <spdlog/details/registry.h>

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "platform/ProcessEnd.h"
#include "vloxlib/log/GenericLogger.h"
#include "vloxlib/log/LogWorker.h"

using vloxlib::GenericLogger;
using vloxlib::LogWorker;
using vloxlib::WorkerLogger;

namespace {

constexpr std::size_t kMaxLine = 2048;

// What a log call uses: null without a logger and with a refused one.
std::atomic<WorkerLogger*> s_lineLogger{nullptr};

// All loggers of the process, the last one being the current one, null after close_logger(). They are kept,
// closed and without sinks: a call on another thread may still be looking at one. Never destroyed, since
// threads without an end log while the process goes down.
std::vector<std::shared_ptr<GenericLogger>>& loggers() {
    static auto& all = *new std::vector<std::shared_ptr<GenericLogger>>(1);
    return all;
}

const char* withoutDirectories(const char* sourceFile) {
    if (sourceFile == nullptr) {
        return nullptr;
    }
    const char* backslash = std::strrchr(sourceFile, '\\');
    const char* name = backslash == nullptr ? sourceFile : backslash + 1;
    const char* slash = std::strrchr(name, '/');
    return slash == nullptr ? name : slash + 1;
}

}  // namespace

namespace vloxlib {

std::shared_ptr<GenericLogger> processLogger() { return loggers().back(); }

void setProcessLogger(std::shared_ptr<GenericLogger> logger) {
    const std::shared_ptr<GenericLogger> earlier = loggers().back();
    logger->enroll(earlier.get());
    s_lineLogger = logger->logger();
    loggers().push_back(std::move(logger));
    if (earlier && earlier->logger() != nullptr) {
        LogWorker::instance().postRetire(*earlier->logger());
    }
}

}  // namespace vloxlib

void close_logger() {
    const std::shared_ptr<GenericLogger> current = loggers().back();
    if (!current) {
        return;
    }
    s_lineLogger = nullptr;
    loggers().push_back(nullptr);
    LogWorker::close();
    // A thread that is gone may have held the registry's locks.
    if (!vloxlib::platform::isLastThread()) {
        spdlog::details::registry::instance().shutdown();
    }
    if (current->logger() != nullptr) {
        current->logger()->dropSinks();
    }
}

void set_logger_level(int level) {
    WorkerLogger* logger = s_lineLogger;
    if (logger != nullptr && level >= spdlog::level::trace && level <= spdlog::level::critical) {
        logger->set_level(static_cast<spdlog::level::level_enum>(level));
    }
}

int vloxprint_v2(int level, const char* sourceFile, const char* function, int line, const char* format, ...) {
    WorkerLogger* logger = s_lineLogger.load(std::memory_order_acquire);
    if (logger == nullptr || format == nullptr || level < logger->level()) {
        return 0;
    }
    char text[kMaxLine + 1];
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    const auto size = std::min(static_cast<std::size_t>(std::max(length, 0)), kMaxLine);
    // Numbers above the known ones are written under spdlog's last letter.
    const auto known = static_cast<spdlog::level::level_enum>(std::min<int>(level, spdlog::level::off));
    logger->log(spdlog::source_loc(withoutDirectories(sourceFile), line, function), known,
                spdlog::string_view_t(text, size));
    return 0;
}
