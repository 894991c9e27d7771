#include "vloxlib/log/LogWorker.h"

#include <spdlog/details/registry.h>

#include <algorithm>
#include <chrono>
#include <utility>

#include "platform/Fork.h"
#include "platform/ProcessEnd.h"

namespace vloxlib {

namespace {

constexpr std::chrono::seconds kShortWait(2);
constexpr std::chrono::seconds kLongWait(600);
constexpr std::size_t kFlushBatch = 10;
// Records are given back to waiting writers in steps of this size.
constexpr std::size_t kStep = 256;

std::atomic<LogWorker*> s_started{nullptr};
thread_local bool s_mayFlush = false;  // this thread writes to the sinks itself

}  // namespace

// Made after the registry, and so destroyed before it: the worker flushes through the registry.
class LogWorker::ExitHook {
public:
    explicit ExitHook(LogWorker& worker) : m_worker(worker) {}
    ~ExitHook() { m_worker.end(State::CallersWrite); }
    ExitHook(const ExitHook&) = delete;
    ExitHook& operator=(const ExitHook&) = delete;

private:
    LogWorker& m_worker;
};

// The right to use the sinks. A fork so finds whole lines only. The last thread needs no lock, and one that
// is gone may have held it.
class LogWorker::Writing {
public:
    explicit Writing(std::mutex& mutex)
        : m_lock(mutex, std::defer_lock), m_mightFlush(std::exchange(s_mayFlush, true)) {
        if (!platform::isLastThread()) {
            m_lock.lock();
        }
    }
    ~Writing() { s_mayFlush = m_mightFlush; }
    Writing(const Writing&) = delete;
    Writing& operator=(const Writing&) = delete;

private:
    std::unique_lock<std::mutex> m_lock;
    const bool m_mightFlush;
};

LogWorker& LogWorker::instance() {
    static LogWorker& worker = *new LogWorker;
    static const ExitHook hook(worker);
    return worker;
}

void LogWorker::close() {
    if (LogWorker* worker = s_started.load()) {
        worker->end(State::Closed);
    }
}

LogWorker::LogWorker() {
    spdlog::details::registry::instance();
    m_thread = std::thread([this] { run(); });
    s_started = this;
    platform::onFork(
        {[this] { beforeFork(); }, [this] { afterForkInParent(); }, [this] { afterForkInChild(); }});
}

void LogWorker::end(State state) {
    State running = State::Running;
    if (m_state.compare_exchange_strong(running, state) &&
        post([](LogRecord& record) { record.set(LogRecord::Kind::Terminate, nullptr); })) {
        m_thread.join();
    }
}

// @return false when the caller has to see to it itself.
template <typename Fill>
bool LogWorker::post(Fill fill) {
    if (platform::isLastThread()) {
        takeOver();
        return false;
    }
    return m_queue.write(fill);
}

// The worker's thread is gone, wherever it was, and so are all that may have been writing into the queue.
void LogWorker::takeOver() {
    if (std::exchange(m_takenOver, true)) {
        return;
    }
    State running = State::Running;
    m_state.compare_exchange_strong(running, State::CallersWrite);
    const Writing writing(m_writing);
    for (std::size_t left = m_queue.sizeForLastThread(); left > 0; --left) {
        handleNext();
    }
    if (m_lastWritten != nullptr) {
        m_lastWritten->flushSinks();
    }
}

// Nothing may be under way, nor wait in a stream's memory: the child has a copy of it, and would write it
// again.
void LogWorker::beforeFork() {
    m_writing.lock();
    if (m_state == State::Running) {
        s_mayFlush = true;
        flushAll();
        s_mayFlush = false;
    }
    m_queue.lock();
}

void LogWorker::afterForkInParent() {
    m_queue.unlock();
    m_writing.unlock();
}

// What is queued is the parent's to write.
void LogWorker::afterForkInChild() {
    State running = State::Running;
    m_state.compare_exchange_strong(running, State::CallersWrite);
    m_queue.abandon();
    m_queue.unlock();
    m_writing.unlock();
}

void LogWorker::checkNotClosed(const char* complaint) const {
    if (m_state == State::Closed) {
        spdlog::throw_spdlog_ex(complaint);
    }
}

void LogWorker::postLine(WorkerLogger& logger, const spdlog::details::log_msg& line) {
    std::unique_ptr<char[]> longTexts = LogRecord::memoryForTexts(line);
    if (!post([&](LogRecord& record) { record.setLine(&logger, line, std::move(longTexts)); })) {
        checkNotClosed("async log: thread pool doesn't exist anymore");
        const Writing writing(m_writing);
        logger.writeLine(line);
        logger.flushSinks();
    }
}

void LogWorker::postFlush(WorkerLogger& logger) {
    if (s_mayFlush) {
        logger.flushSinks();
    } else if (!post([&](LogRecord& record) { record.set(LogRecord::Kind::Flush, &logger); })) {
        checkNotClosed("async flush: thread pool doesn't exist anymore");
        const Writing writing(m_writing);
        logger.flushSinks();
    }
}

void LogWorker::postRetire(WorkerLogger& logger) {
    post([&](LogRecord& record) { record.set(LogRecord::Kind::Retire, &logger); });
}

void LogWorker::run() {
    std::chrono::seconds currentWait = kShortWait;
    bool running = true;
    while (running) {
        const std::size_t count = m_queue.waitForRecords(currentWait);
        if (count > 0) {
            running = workInSteps(count);
            currentWait = kShortWait;
        } else {
            if (currentWait <= kShortWait) {
                const Writing writing(m_writing);
                flushAll();
            }
            currentWait = kLongWait;
        }
    }
    m_queue.beginClose();
    workInSteps(m_queue.size());
    {
        const Writing writing(m_writing);
        flushAll();
    }
    m_queue.close();
}

bool LogWorker::workInSteps(std::size_t count) {
    bool running = true;
    for (std::size_t done = 0; done < count; done += kStep) {
        running = work(std::min(count - done, kStep)) && running;
    }
    return running;
}

// The tenth lines within one step are flushed in one go, behind the last of them.
bool LogWorker::work(std::size_t count) {
    const Writing writing(m_writing);
    const std::size_t flushAfter = count - std::min(count, (m_sinceFlush + count) % kFlushBatch);
    bool running = true;
    for (std::size_t i = 0; i < count; ++i) {
        running = handleNext() && running;
        if (i + 1 == flushAfter && m_sinceFlush >= kFlushBatch) {
            flushAll();
        }
    }
    m_queue.release(count);
    return running;
}

bool LogWorker::handleNext() {
    const bool running = handle(m_queue.front());
    m_queue.advance();
    return running;
}

bool LogWorker::handle(const LogRecord& record) {
    switch (record.kind()) {
        case LogRecord::Kind::Log:
            record.logger()->writeLine(record.line());
            m_lastWritten = record.logger();
            ++m_sinceFlush;
            break;
        case LogRecord::Kind::Flush:
            record.logger()->flushSinks();
            break;
        case LogRecord::Kind::Retire:
            record.logger()->flushSinks();
            record.logger()->dropSinks();
            break;
        case LogRecord::Kind::Terminate:
            return false;
    }
    return true;
}

void LogWorker::flushAll() {
    spdlog::details::registry::instance().flush_all();
    m_sinceFlush = 0;
}

WorkerLogger::WorkerLogger(std::string name, std::vector<spdlog::sink_ptr> sinks)
    : spdlog::logger(std::move(name), sinks.begin(), sinks.end()) {}

void WorkerLogger::sink_it_(const spdlog::details::log_msg& line) {
    try {
        LogWorker::instance().postLine(*this, line);
    } catch (const std::exception& error) {
        err_handler_(error.what());
    }
}

void WorkerLogger::flush_() {
    try {
        LogWorker::instance().postFlush(*this);
    } catch (const std::exception& error) {
        err_handler_(error.what());
    }
}

}  // namespace vloxlib
