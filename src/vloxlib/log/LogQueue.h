#ifndef VLOXLIB_LOG_LOGQUEUE_H
#define VLOXLIB_LOG_LOGQUEUE_H

#include <spdlog/details/log_msg.h>

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>

namespace vloxlib {

class WorkerLogger;

/// @brief One message to the worker; its texts are copies, so that a caller's may go as soon as the call
/// returns.
class LogRecord {
public:
    enum class Kind { Log, Flush, Retire };

    /// A record without texts.
    void set(Kind kind, WorkerLogger* logger);
    /// A line. `longTexts` holds the texts when they don't fit in the record itself, see textsSize().
    void setLine(WorkerLogger* logger, const spdlog::details::log_msg& line,
                 std::unique_ptr<char[]> longTexts);

    Kind kind() const { return m_kind; }
    /// Whether the worker is to see to it at once: an error, or a call that isn't a line.
    bool isUrgent() const { return m_kind != Kind::Log || m_level >= spdlog::level::err; }
    WorkerLogger* logger() const { return m_logger; }
    /// The line as the sinks take it; valid while the record stays as it is.
    spdlog::details::log_msg line() const;

    /// Memory for texts that don't fit in a record, null for those that do.
    static std::unique_ptr<char[]> memoryForTexts(const spdlog::details::log_msg& line);

private:
    // Most lines fit, and a record takes four cache lines.
    static constexpr std::size_t kInlineSize = 184;

    Kind m_kind = Kind::Log;
    WorkerLogger* m_logger = nullptr;
    spdlog::log_clock::time_point m_time;
    std::size_t m_threadId = 0;
    spdlog::level::level_enum m_level = spdlog::level::info;
    int m_lineNumber = 0;
    // Source name, function and message, each with a terminator, one behind the other.
    unsigned m_functionAt = 0;
    unsigned m_messageAt = 0;
    unsigned m_messageSize = 0;
    std::unique_ptr<char[]> m_longTexts;
    std::array<char, kInlineSize> m_texts;
};

/// @brief A bounded queue of records with many writers and one reader, in the order of writing.
///
/// Memory is taken once. Writers wait while it is full; the reader works on records in place, and they count
/// until it releases them. A position is the number of records up to a point, over all time.
class LogQueue {
public:
    static constexpr std::size_t kCapacity = 2048;
    using Limit = std::optional<std::chrono::steady_clock::time_point>;  // none: without end

    LogQueue() : m_records(new LogRecord[kCapacity]) {}

    /// Calls fill(record) on the next free record, waiting for one.
    /// @return the position behind it, 0 when the queue is closed or the limit passed.
    template <typename Fill>
    std::size_t write(Fill fill, Limit limit = std::nullopt);
    /// Waits until the reader has released all up to a position. @return false: closed, or the limit passed.
    bool waitUntilRead(std::size_t position, Limit limit);

    /// Waits until there is something to read, and then a moment longer, so that a burst costs few wake-ups
    /// and few flushes; what is urgent ends the wait, and so does beginClose(). @return how many records.
    std::size_t waitForRecords(std::chrono::seconds limit);
    /// How many records there are.
    std::size_t size();
    /// The reader's next record, and the step to the one behind it. That one may not be there yet.
    const LogRecord& front() const { return m_records[m_next % kCapacity]; }
    void advance() { m_next.store(m_next + 1, std::memory_order_release); }
    /// The reader: what it has read so far is safe.
    void settle() { m_settled.store(m_next, std::memory_order_relaxed); }
    /// How many records aren't safe yet.
    std::size_t unsettled();
    /// How many records are ahead of the reader, for the last thread of a process: without the lock, which a
    /// thread that is gone may have held.
    std::size_t sizeForLastThread() const { return m_written - m_next; }
    /// Gives the oldest records back to the writers.
    void release(std::size_t count);

    /// The end, in two steps: from beginClose() on writers wait while the reader reads what is queued, and
    /// close() tells them that nothing can be written any more.
    void beginClose();
    bool isClosing();
    void close();
    bool waitUntilClosed(Limit limit);  ///< @return false when the limit passed

    /// For a fork: nothing is under way between the two. What a forked child inherits is abandoned, and the
    /// queue closed, before the child unlocks.
    void lock() { m_mutex.lock(); }
    void abandon();
    void unlock() { m_mutex.unlock(); }

private:
    static constexpr std::size_t kNever = kCapacity + 1;
    static constexpr std::size_t kCacheLine = 64;

    template <typename Condition>
    bool waitForReader(std::unique_lock<std::mutex>& lock, Limit limit, Condition condition);

    const std::unique_ptr<LogRecord[]> m_records;
    std::atomic<std::size_t> m_next{0};  // the reader's own, out of the way of what the writers change
    std::atomic<std::size_t> m_settled{0};

    alignas(kCacheLine) std::mutex m_mutex;
    std::condition_variable m_readable;
    std::condition_variable m_released;
    bool m_closing = false;  // guarded by m_mutex, as all that follows
    bool m_closed = false;
    bool m_urgent = false;
    std::size_t m_wakeAt = kNever;  // how many records wake the reader
    std::size_t m_waiting = 0;      // for the reader
    std::size_t m_written = 0;
    std::size_t m_read = 0;
};

// @return false when the limit passed.
template <typename Condition>
bool LogQueue::waitForReader(std::unique_lock<std::mutex>& lock, Limit limit, Condition condition) {
    ++m_waiting;
    const bool met =
        limit ? m_released.wait_until(lock, *limit, condition) : (m_released.wait(lock, condition), true);
    --m_waiting;
    return met;
}

template <typename Fill>
std::size_t LogQueue::write(Fill fill, Limit limit) {
    std::size_t position = 0;
    bool wake = false;
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        const auto hasRoom = [this] { return !m_closing && m_written - m_read < kCapacity; };
        if (!hasRoom() && !waitForReader(lock, limit, [&] { return m_closed || hasRoom(); })) {
            return 0;
        }
        if (m_closed) {
            return 0;
        }
        LogRecord& record = m_records[m_written % kCapacity];
        fill(record);
        position = ++m_written;
        m_urgent = m_urgent || record.isUrgent();
        wake = m_wakeAt != kNever && (m_urgent || m_written - m_read >= m_wakeAt);
        if (wake) {
            m_wakeAt = kNever;
        }
    }
    if (wake) {
        m_readable.notify_one();
    }
    return position;
}

}  // namespace vloxlib

#endif
