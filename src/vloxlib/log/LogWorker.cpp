#include "vloxlib/log/LogWorker.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <thread>
#include <utility>

#include "platform/Fork.h"
#include "platform/ProcessEnd.h"
#include "platform/Thread.h"

namespace vloxlib {

namespace {

// Records are given back to waiting writers in steps of this size.
constexpr std::size_t kStep = 256;

std::atomic<LogWorker*> s_started{nullptr};
std::atomic<void (*)()> s_endOfDayHandler{nullptr};
thread_local bool s_isWorker = false;

// How long a disk that doesn't answer may hold up the host.
LogQueue::Limit twoSecondsFromNow() { return std::chrono::steady_clock::now() + std::chrono::seconds(2); }

// By trying, so that nobody is woken who takes the lock for each line; a fork isn't in a hurry.
bool lockWithin(std::mutex& mutex, LogQueue::Limit limit) {
    while (!mutex.try_lock()) {
        if (std::chrono::steady_clock::now() > *limit) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    return true;
}

}  // namespace

class LogWorker::ExitHook {
public:
    explicit ExitHook(LogWorker& worker) : m_worker(worker) {}
    ~ExitHook() { m_worker.atExit(); }
    ExitHook(const ExitHook&) = delete;
    ExitHook& operator=(const ExitHook&) = delete;

private:
    LogWorker& m_worker;
};

// The right to use the sinks. A fork so finds whole lines only. The last thread needs no lock, and one that
// is gone may have held it.
class LogWorker::Writing {
public:
    explicit Writing(std::mutex& mutex) : m_lock(mutex, std::defer_lock) {
        if (!platform::isLastThread()) {
            m_lock.lock();
        }
    }

private:
    std::unique_lock<std::mutex> m_lock;
};

LogWorker& LogWorker::instance() {
    static LogWorker& worker = *new LogWorker;
    static const ExitHook hook(worker);
    return worker;
}

LogWorker::LogWorker() {
    const platform::Thread runsUntilClosed([this] { run(); });
    s_started = this;
    platform::onFork(
        {[this] { beforeFork(); }, [this] { afterForkInParent(); }, [this] { afterForkInChild(); }});
}

// @return false when the thread was gone already.
bool LogWorker::moveTo(State state) {
    State now = m_state;
    while (now == State::Running || now == State::Exiting) {
        if (m_state.compare_exchange_weak(now, state)) {
            return true;
        }
    }
    return false;
}

void LogWorker::close(WorkerLogger* last) {
    if (LogWorker* worker = s_started) {
        worker->end(last);
    }
}

void LogWorker::awaitClose() {
    LogWorker* worker = s_started;
    if (worker != nullptr && worker->m_state == State::Closed && !platform::isLastThread()) {
        worker->m_queue.waitUntilClosed(twoSecondsFromNow());
    }
}

void LogWorker::end(WorkerLogger* last) {
    if (platform::isLastThread()) {
        takeOver();
    }
    m_last = last;
    if (moveTo(State::Closed)) {
        m_queue.beginClose();
        if (!m_queue.waitUntilClosed(twoSecondsFromNow())) {
            giveUp();
        }
    } else if (m_state != State::GivenUp) {
        m_state = State::Closed;
        const Writing writing(m_writing);
        if (last != nullptr) {
            last->dropSinks();
        }
    }
}

void LogWorker::atExit() {
    if (platform::isLastThread()) {
        takeOver();
    } else if (moveTo(State::Exiting)) {
        if (!flushWithin(twoSecondsFromNow())) {
            giveUp();
        }
    } else {
        awaitClose();
    }
}

void LogWorker::flush() {
    LogWorker* worker = s_started;
    if (worker != nullptr && worker->hasThread() && !platform::isLastThread()) {
        worker->flushWithin(twoSecondsFromNow());
    }
}

void LogWorker::onEndOfDay(void (*handler)()) { s_endOfDayHandler = handler; }

bool LogWorker::flushWithin(LogQueue::Limit limit) {
    const std::size_t end =
        m_queue.write([](LogRecord& record) { record.set(LogRecord::Kind::Flush, nullptr); }, limit);
    return end > 0 && m_queue.waitUntilRead(end, limit);
}

// The thread is left alone, wherever it stands: all that it uses stays.
void LogWorker::giveUp() {
    const std::size_t left = m_queue.unsettled();
    if (m_state.exchange(State::GivenUp) != State::GivenUp) {
        m_queue.close();
        std::fprintf(stderr, "The log file doesn't answer: %zu lines were left.\n", left);
    }
}

// The worker's thread is gone, wherever it was, and so are all that may have been writing into the queue.
void LogWorker::takeOver() {
    if (std::exchange(m_takenOver, true)) {
        return;
    }
    moveTo(State::CallersWrite);
    const Writing writing(m_writing);
    if (m_lastWritten != nullptr) {
        m_lastWritten->discardUnfinished();
    }
    for (std::size_t left = m_queue.sizeForLastThread(); left > 0; --left) {
        handleNext();
    }
    flushWritten();
}

// Nothing may be under way.
void LogWorker::beforeFork() {
    const bool holdsWriting = m_state != State::GivenUp && lockWithin(m_writing, twoSecondsFromNow());
    if (!holdsWriting && m_state != State::GivenUp) {
        std::fprintf(stderr,
                     "The log file doesn't answer: %zu lines wait, and a forked process logs nothing.\n",
                     m_queue.unsettled());
    }
    m_queue.lock();
    m_forkHoldsWriting = holdsWriting;
}

void LogWorker::afterForkInParent() {
    const bool holdsWriting = m_forkHoldsWriting;
    m_queue.unlock();
    if (holdsWriting) {
        m_writing.unlock();
    }
}

// What is queued or gathered is the parent's to write.
void LogWorker::afterForkInChild() {
    moveTo(State::CallersWrite);
    m_queue.abandon();
    if (m_forkHoldsWriting) {
        if (m_lastWritten != nullptr) {
            m_lastWritten->discardUnwritten();
        }
        m_rule.flushed();
        m_writing.unlock();
    } else {
        m_state = State::GivenUp;
    }
    m_queue.unlock();
}

void LogWorker::postLine(WorkerLogger& logger, const spdlog::details::log_msg& line) {
    if (platform::isLastThread()) {
        takeOver();
    }
    if (hasThread() && !s_isWorker) {
        const bool isExiting = m_state == State::Exiting;
        const LogQueue::Limit limit = isExiting ? twoSecondsFromNow() : std::nullopt;
        std::unique_ptr<char[]> longTexts = LogRecord::memoryForTexts(line);
        const bool isQueued =
            m_queue.write([&](LogRecord& record) { record.setLine(&logger, line, std::move(longTexts)); },
                          limit) > 0;
        if (isExiting && !(isQueued && flushWithin(limit)) && m_state == State::Exiting) {
            giveUp();
        }
        if (isQueued) {
            return;
        }
    }
    switch (m_state) {
        case State::Closed:
            spdlog::throw_spdlog_ex("async log: thread pool doesn't exist anymore");
        case State::GivenUp:
            break;
        default:
            writeDirectly(logger, line);
    }
}

void LogWorker::writeDirectly(WorkerLogger& logger, const spdlog::details::log_msg& line) {
    const Writing writing(m_writing);
    logger.writeLine(line);
    logger.flushSinks();
}

void LogWorker::postFlush() {
    if (hasThread() && !s_isWorker && !platform::isLastThread()) {
        m_queue.write([](LogRecord& record) { record.set(LogRecord::Kind::Flush, nullptr); });
    }
}

void LogWorker::postRetire(WorkerLogger& logger) {
    if (hasThread() && !platform::isLastThread()) {
        m_queue.write([&](LogRecord& record) { record.set(LogRecord::Kind::Retire, &logger); },
                      twoSecondsFromNow());
    }
}

void LogWorker::run() {
    s_isWorker = true;
    while (!m_queue.isClosing()) {
        const std::size_t count = m_queue.waitForRecords(m_rule.wait());
        if (count > 0) {
            workInSteps(count);
            m_rule.somethingCame();
            lookAtDay();
        } else if (m_rule.nothingCame()) {
            const Writing writing(m_writing);
            flushWritten();
        }
    }
    workInSteps(m_queue.size());
    {
        const Writing writing(m_writing);
        flushWritten();
        if (WorkerLogger* last = m_last) {
            last->dropSinks();
        }
    }
    m_queue.close();
}

void LogWorker::workInSteps(std::size_t count) {
    for (std::size_t done = 0; done < count; done += kStep) {
        work(std::min(count - done, kStep));
    }
}

void LogWorker::work(std::size_t count) {
    const std::size_t flushBehind = m_rule.flushBehind(count);
    for (std::size_t done = 1; done <= count; ++done) {
        const Writing writing(m_writing);
        handleNext();
        if (done == flushBehind && m_rule.isDue()) {
            flushWritten();
        }
    }
    m_queue.release(count);
}

void LogWorker::handleNext() {
    const LogRecord& record = m_queue.front();
    handle(record);
    m_queue.advance();
    if (record.isUrgent()) {
        flushWritten();
    }
}

void LogWorker::handle(const LogRecord& record) {
    switch (record.kind()) {
        case LogRecord::Kind::Log:
            if (m_lastWritten != record.logger()) {
                flushWritten();
                m_lastWritten = record.logger();
            }
            m_lastWritten->writeLine(record.line());
            m_rule.line();
            break;
        case LogRecord::Kind::Flush:  // as all that is urgent
            break;
        case LogRecord::Kind::Retire:
            record.logger()->flushSinks();
            record.logger()->dropSinks();
            break;
    }
}

void LogWorker::flushWritten() {
    if (m_lastWritten != nullptr) {
        m_lastWritten->flushSinks();
    }
    m_rule.flushed();
    m_queue.settle();
}

void LogWorker::lookAtDay() {
    bool hasEnded = false;
    {
        const Writing writing(m_writing);
        hasEnded = m_lastWritten != nullptr && m_lastWritten->takeEndOfDay();
    }
    if (void (*const handler)() = s_endOfDayHandler; hasEnded && handler != nullptr) {
        handler();
    }
}

WorkerLogger::WorkerLogger(std::string name, const spdlog::sink_ptr& debugger, std::shared_ptr<FileSink> file)
    : spdlog::logger(std::move(name), file), m_file(std::move(file)) {
    if (debugger) {
        sinks().insert(sinks().begin(), debugger);
    }
}

void WorkerLogger::writeLine(const spdlog::details::log_msg& line) { spdlog::logger::sink_it_(line); }

void WorkerLogger::dropSinks() {
    m_file.reset();
    sinks().clear();
}

void WorkerLogger::discardUnwritten() {
    if (m_file) {
        m_file->discard();
    }
}

void WorkerLogger::discardUnfinished() {
    if (m_file) {
        m_file->discardUnfinished();
    }
}

void WorkerLogger::sink_it_(const spdlog::details::log_msg& line) {
    try {
        LogWorker::instance().postLine(*this, line);
    } catch (const std::exception& error) {
        err_handler_(error.what());
    }
}

void WorkerLogger::flush_() { LogWorker::instance().postFlush(); }

}  // namespace vloxlib
