#include "vloxlib/thread/Windows/WindowsThread.h"

#include <system_error>

#include "platform/Thread.h"
#include "vloxlib/log/vloxLog.h"
#include "vloxlib/thread/Windows/Runnable.h"

namespace vloxlib {

WindowsThread::WindowsThread() : m_state(std::make_shared<State>()) {}

WindowsThread::WindowsThread(Runnable* runnable) : m_state(std::make_shared<State>()), m_runnable(runnable) {}

WindowsThread::WindowsThread(const WindowsThread& other)
    : m_state(std::make_shared<State>()),
      m_runnable(other.m_runnable),
      m_thread(other.thread()),
      m_attributes(other.m_attributes) {
    copyState(other);
}

WindowsThread& WindowsThread::operator=(const WindowsThread& other) {
    if (this != &other) {
        copyState(other);
        m_runnable = other.m_runnable;
        std::atomic_store(&m_thread, other.thread());
        m_attributes = other.m_attributes;
    }
    return *this;
}

WindowsThread::~WindowsThread() = default;

bool WindowsThread::start() {
    m_state->stat = THREAD_STAT_RUNNING;
    if (m_state->started.exchange(true)) {
        return true;
    }
    try {
        std::atomic_store(&m_thread, std::make_shared<platform::Thread>(
                                         [this, state = m_state] { threadBody(this, state); }));
    } catch (const std::system_error& error) {
        VLOX_LOG(5, "WindowsThread create thread failed for: %lld",
                 static_cast<long long>(error.code().value()));
        return false;
    }
    return true;
}

void WindowsThread::join() {
    if (const auto running = thread()) {
        running->join();
    }
}

unsigned long WindowsThread::getThreadHandle() const {
    const auto running = thread();
    return running ? running->handle() : 0;
}

eThreadStat WindowsThread::getThreadStat() { return m_state->stat; }

void WindowsThread::setRunnable(Runnable* runnable) { m_runnable = runnable; }

void WindowsThread::setThreadAttr(const ThreadAttributes& attributes) { m_attributes = attributes; }

void WindowsThread::run() {
    if (m_runnable != nullptr) {
        m_runnable->work();
    }
}

void WindowsThread::threadBody(WindowsThread* self, const std::shared_ptr<State>& state) {
    state->stat = THREAD_STAT_RUNNING;
    self->run();
    state->stat = THREAD_STAT_ENDED;
    state->started = false;
}

std::shared_ptr<platform::Thread> WindowsThread::thread() const { return std::atomic_load(&m_thread); }

void WindowsThread::copyState(const WindowsThread& other) {
    m_state->stat = other.m_state->stat.load();
    m_state->started = other.m_state->started.load();
}

}  // namespace vloxlib
