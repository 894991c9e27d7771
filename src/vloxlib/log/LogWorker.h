#ifndef VLOXLIB_LOG_LOGWORKER_H
#define VLOXLIB_LOG_LOGWORKER_H

#include <spdlog/logger.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include "vloxlib/log/FileSink.h"
#include "vloxlib/log/FlushRule.h"
#include "vloxlib/log/LogQueue.h"

namespace vloxlib {

/// @brief A logger of spdlog whose lines go through the worker.
///
/// Never destroyed once a line was posted: the queue and late callers hold plain pointers.
class WorkerLogger : public spdlog::logger {
public:
    /// @param debugger null for none
    WorkerLogger(std::string name, const spdlog::sink_ptr& debugger, std::shared_ptr<FileSink> file);

    // The other end, for who writes: the worker, or a caller in its place. The sinks have no locks.
    void writeLine(const spdlog::details::log_msg& line);
    void flushSinks() { spdlog::logger::flush_(); }
    void dropSinks();
    void discardUnwritten();
    void discardUnfinished();
    bool takeEndOfDay() { return m_file && m_file->takeEndOfDay(); }

protected:
    void sink_it_(const spdlog::details::log_msg& line) override;
    void flush_() override;

private:
    std::shared_ptr<FileSink> m_file;
};

/// @brief The one thread that writes log lines, by FlushRule, and who writes in its place without it.
///
/// Life: one per process, never destroyed, because threads without an end may log while the process goes
/// down. It runs from the first use to close(), and without that until the process is gone. From the time on
/// at which the process exits each line is waited for. A forked child has no such thread: its callers write
/// their lines themselves. The same goes for the last thread left where the system ends all others first;
/// lines that the worker was at may then be there twice. A disk that doesn't answer holds up an end, a fork
/// or a flush for two seconds at most. Then the log is given up, and the standard error output tells how many
/// lines were left. Threads: all operations from any thread.
class LogWorker {
public:
    /// @brief The worker; the first call starts its thread.
    static LogWorker& instance();
    /// @brief Writes what is queued, closes the last logger's files and ends the thread for good; nothing on
    /// a worker never started.
    static void close(WorkerLogger* last);
    /// @brief Waits for another thread's close().
    static void awaitClose();
    /// @brief Waits until all that was logged is in the file.
    static void flush();
    /// @brief What the worker's thread calls after the end of a day, with no lock held.
    static void onEndOfDay(void (*handler)());

    /// @brief Queues a line, waiting for room. @throws spdlog::spdlog_ex when the worker is closed.
    void postLine(WorkerLogger& logger, const spdlog::details::log_msg& line);
    /// @brief Has all flushed behind the lines queued so far.
    void postFlush();
    /// @brief Has the logger's sinks dropped, and so their files closed, behind the lines queued so far.
    void postRetire(WorkerLogger& logger);

private:
    class ExitHook;
    class Writing;
    enum class State { Running, Exiting, Closed, CallersWrite, GivenUp };

    LogWorker();
    bool moveTo(State state);
    bool hasThread() const { return m_state == State::Running || m_state == State::Exiting; }
    void atExit();
    void end(WorkerLogger* last);
    bool flushWithin(LogQueue::Limit limit);
    void giveUp();
    void takeOver();
    void beforeFork();
    void afterForkInParent();
    void afterForkInChild();

    void run();
    void workInSteps(std::size_t count);
    void work(std::size_t count);
    void handleNext();
    void handle(const LogRecord& record);
    void writeDirectly(WorkerLogger& logger, const spdlog::details::log_msg& line);
    void flushWritten();
    void lookAtDay();

    LogQueue m_queue;
    std::atomic<State> m_state{State::Running};
    std::atomic<WorkerLogger*> m_last{nullptr};  // the one to close at the end
    bool m_forkHoldsWriting = false;             // guarded by the queue's lock
    std::mutex m_writing;                        // held by who uses the sinks, for one line or one flush
    FlushRule m_rule;                            // the worker's
    WorkerLogger* m_lastWritten = nullptr;       // guarded by m_writing; all others are flushed
    bool m_takenOver = false;                    // the last thread's
};

}  // namespace vloxlib

#endif
