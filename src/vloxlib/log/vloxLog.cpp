#include "vloxlib/log/vloxLog.h"

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <utility>

#include "vloxlib/log/GenericLogger.h"
#include "vloxlib/log/LogWorker.h"

using vloxlib::GenericLogger;
using vloxlib::LogWorker;
using vloxlib::WorkerLogger;

namespace {

constexpr std::size_t kMaxLine = 2048;

// What a log call uses: null without a logger and with a refused one.
std::atomic<WorkerLogger*> s_lineLogger{nullptr};

std::atomic<GenericLogger*> s_current{nullptr};

// All loggers that the process had. They are kept, closed and without sinks, since a call on another thread
// may still be looking at one; and threads without an end log while the process goes down.
struct Kept {
    const std::unique_ptr<GenericLogger> logger;
    Kept* earlier = nullptr;
};
std::atomic<Kept*> s_newest{nullptr};

GenericLogger* keep(std::unique_ptr<GenericLogger> logger) {
    auto* const kept = new Kept{std::move(logger)};
    kept->earlier = s_newest.exchange(kept);
    return kept->logger.get();
}

// The longest part of a text that fits, without half a character of UTF-8 at its end.
std::size_t cutSize(const char* text, std::size_t size) {
    if (size <= kMaxLine) {
        return size;
    }
    constexpr std::size_t kLongestTail = 3;
    std::size_t cut = kMaxLine;
    while (cut > kMaxLine - kLongestTail && (static_cast<unsigned char>(text[cut]) & 0xc0U) == 0x80U) {
        --cut;
    }
    return cut;
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

GenericLogger* processLogger() { return s_current; }

void setProcessLogger(std::unique_ptr<GenericLogger> logger) {
    GenericLogger* const current = keep(std::move(logger));
    s_lineLogger = current->logger();
    const GenericLogger* const earlier = s_current.exchange(current);
    if (earlier != nullptr && earlier->logger() != nullptr) {
        LogWorker::instance().postRetire(*earlier->logger());
    }
}

}  // namespace vloxlib

void close_logger() {
    s_lineLogger = nullptr;
    if (const GenericLogger* const current = s_current.exchange(nullptr)) {
        LogWorker::close(current->logger());
    } else {
        LogWorker::awaitClose();
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
    char text[kMaxLine + 2];  // the first byte of what is cut off tells where characters begin
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    const std::size_t size = cutSize(text, static_cast<std::size_t>(std::max(length, 0)));
    // Numbers above the known ones are written under spdlog's last letter.
    const auto known = static_cast<spdlog::level::level_enum>(std::min<int>(level, spdlog::level::off));
    logger->log(spdlog::source_loc(withoutDirectories(sourceFile), line, function), known,
                spdlog::string_view_t(text, size));
    return 0;
}
