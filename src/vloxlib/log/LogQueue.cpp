#include "vloxlib/log/LogQueue.h"

#include <cstring>
#include <utility>

namespace vloxlib {

namespace {

// A moment in which a burst gathers: too short to be seen, long enough to pay for a wake-up.
constexpr std::chrono::microseconds kGatherTime(200);
constexpr std::size_t kGatherSize = LogQueue::kCapacity / 2;

std::size_t sizeWithTerminator(const char* text) { return text == nullptr ? 1 : std::strlen(text) + 1; }

void copyText(char* to, const char* text, std::size_t sizeBeforeTerminator) {
    if (sizeBeforeTerminator > 0) {
        std::memcpy(to, text, sizeBeforeTerminator);
    }
    to[sizeBeforeTerminator] = '\0';
}

}  // namespace

void LogRecord::set(Kind kind, WorkerLogger* logger) {
    m_kind = kind;
    m_logger = logger;
}

std::unique_ptr<char[]> LogRecord::memoryForTexts(const spdlog::details::log_msg& line) {
    const std::size_t size = sizeWithTerminator(line.source.filename) +
                             sizeWithTerminator(line.source.funcname) + line.payload.size() + 1;
    return size > kInlineSize ? std::make_unique<char[]>(size) : nullptr;
}

void LogRecord::setLine(WorkerLogger* logger, const spdlog::details::log_msg& line,
                        std::unique_ptr<char[]> longTexts) {
    set(Kind::Log, logger);
    m_time = line.time;
    m_threadId = line.thread_id;
    m_level = line.level;
    m_lineNumber = line.source.line;
    m_longTexts = std::move(longTexts);
    const std::size_t sourceSize = sizeWithTerminator(line.source.filename);
    const std::size_t functionSize = sizeWithTerminator(line.source.funcname);
    m_functionAt = static_cast<unsigned>(sourceSize);
    m_messageAt = static_cast<unsigned>(sourceSize + functionSize);
    m_messageSize = static_cast<unsigned>(line.payload.size());
    char* texts = m_longTexts ? m_longTexts.get() : m_texts.data();
    copyText(texts, line.source.filename, sourceSize - 1);
    copyText(texts + m_functionAt, line.source.funcname, functionSize - 1);
    copyText(texts + m_messageAt, line.payload.data(), m_messageSize);
}

spdlog::details::log_msg LogRecord::line() const {
    const char* texts = m_longTexts ? m_longTexts.get() : m_texts.data();
    spdlog::details::log_msg line(m_time, spdlog::source_loc(texts, m_lineNumber, texts + m_functionAt),
                                  spdlog::string_view_t(), m_level,
                                  spdlog::string_view_t(texts + m_messageAt, m_messageSize));
    line.thread_id = m_threadId;
    return line;
}

std::size_t LogQueue::waitForRecords(std::chrono::seconds limit) {
    std::unique_lock<std::mutex> lock(m_mutex);
    const auto wait = [&](auto time, std::size_t wakeAt) {
        m_wakeAt = wakeAt;
        m_readable.wait_for(lock, time,
                            [&] { return m_closing || m_urgent || m_written - m_read >= wakeAt; });
        m_wakeAt = kNever;
    };
    wait(limit, 1);
    if (m_written != m_read) {
        wait(kGatherTime, kGatherSize);
    }
    m_urgent = false;
    return m_written - m_read;
}

bool LogQueue::waitUntilRead(std::size_t position, Limit limit) {
    std::unique_lock<std::mutex> lock(m_mutex);
    waitForReader(lock, limit, [&] { return m_closed || m_read >= position; });
    return m_read >= position;
}

std::size_t LogQueue::size() {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_written - m_read;
}

std::size_t LogQueue::unsettled() {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_written - m_settled;
}

void LogQueue::release(std::size_t count) {
    bool wake = false;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_read += count;
        wake = m_waiting > 0;
    }
    if (wake) {
        m_released.notify_all();
    }
}

void LogQueue::beginClose() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_closing = true;
    }
    m_readable.notify_one();
}

bool LogQueue::isClosing() {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_closing;
}

void LogQueue::close() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_closed = true;
    }
    m_released.notify_all();
}

bool LogQueue::waitUntilClosed(Limit limit) {
    std::unique_lock<std::mutex> lock(m_mutex);
    return waitForReader(lock, limit, [this] { return m_closed; });
}

void LogQueue::abandon() {
    m_read = m_written;
    m_closed = true;
}

}  // namespace vloxlib
