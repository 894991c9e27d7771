#ifndef VLOXLIB_LOG_LOGWORKER_H
#define VLOXLIB_LOG_LOGWORKER_H

#include <spdlog/logger.h>

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "vloxlib/log/LogQueue.h"

namespace vloxlib {

/// @brief The one thread that writes log lines, with its wait and flush rule.
///
/// A burst is flushed every ten lines, and two seconds after the last line everything is; an idle worker
/// wakes every ten minutes only. Life: one per process, never destroyed, because threads without an end may
/// log while the process goes down. It runs from the first use to close(), or to the end of the process. Then
/// what is queued is written, and each later line is written by its caller. Where the system ends the
/// worker's thread ahead of that, the last thread left writes what is queued; the line that the worker was at
/// may then be there twice. Threads: all operations from any thread.
class LogWorker {
public:
    /// @brief The worker; the first call starts its thread.
    static LogWorker& instance();
    /// @brief Writes what is queued, flushes it and ends the thread for good; nothing on a worker never
    /// started.
    static void close();

    /// @brief Queues a line, waiting for room. @throws spdlog::spdlog_ex when the worker is closed.
    void postLine(WorkerLogger& logger, const spdlog::details::log_msg& line);
    /// @brief Has the logger's sinks flushed, behind the lines queued so far. @throws as postLine().
    void postFlush(WorkerLogger& logger);
    /// @brief Has the logger's sinks dropped, and so their files closed, behind the lines queued so far.
    void postRetire(WorkerLogger& logger);

private:
    class ExitHook;
    class Writing;
    enum class State { Running, Closed, CallersWrite };

    LogWorker();
    void end(State state);
    template <typename Fill>
    bool post(Fill fill);
    void takeOver();
    void checkNotClosed(const char* complaint) const;
    void beforeFork();
    void afterForkInParent();
    void afterForkInChild();
    void run();
    bool workInSteps(std::size_t count);
    bool work(std::size_t count);
    bool handleNext();
    bool handle(const LogRecord& record);
    void flushAll();

    LogQueue m_queue;
    std::atomic<State> m_state{State::Running};
    std::mutex m_writing;                   // held by who uses the sinks, which have no locks of their own
    std::size_t m_sinceFlush = 0;           // guarded by m_writing
    WorkerLogger* m_lastWritten = nullptr;  // guarded by m_writing
    bool m_takenOver = false;               // the last thread's
    std::thread m_thread;
};

/// @brief A logger of spdlog whose lines go through the worker.
///
/// Never destroyed once a line was posted: the queue and late callers hold plain pointers.
class WorkerLogger : public spdlog::logger {
public:
    WorkerLogger(std::string name, std::vector<spdlog::sink_ptr> sinks);

    // The other end, for who writes: the worker, or at the end of the process the caller itself. The sinks
    // aren't locked.
    void writeLine(const spdlog::details::log_msg& line) { spdlog::logger::sink_it_(line); }
    void flushSinks() { spdlog::logger::flush_(); }
    void dropSinks() { sinks().clear(); }

protected:
    void sink_it_(const spdlog::details::log_msg& line) override;
    void flush_() override;
};

}  // namespace vloxlib

#endif
