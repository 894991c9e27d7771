#include "vloxlib/thread/Windows/WindowsThread.h"

#include <system_error>

#include "platform/Thread.h"
#include "vloxlib/log/vloxLog.h"
#include "vloxlib/thread/Windows/Runnable.h"

namespace vloxlib {

WindowsThread::WindowsThread() : WindowsThread(nullptr) {}

WindowsThread::WindowsThread(Runnable* runnable)
    : m_stat(std::make_shared<std::atomic<eThreadStat>>(THREAD_STAT_NOT_STARTED)), m_runnable(runnable) {}

WindowsThread::WindowsThread(const WindowsThread& other)
    : m_stat(std::make_shared<std::atomic<eThreadStat>>(other.m_stat->load())),
      m_runnable(other.m_runnable),
      m_thread(other.thread()),
      m_attributes(other.m_attributes) {}

WindowsThread& WindowsThread::operator=(const WindowsThread& other) {
    if (this != &other) {
        *m_stat = other.m_stat->load();
        m_runnable = other.m_runnable;
        std::atomic_store(&m_thread, other.thread());
        m_attributes = other.m_attributes;
    }
    return *this;
}

WindowsThread::~WindowsThread() = default;

bool WindowsThread::start() {
    if (m_stat->exchange(THREAD_STAT_RUNNING) == THREAD_STAT_RUNNING) {
        return true;
    }
    try {
        std::atomic_store(&m_thread, std::make_shared<platform::Thread>(
                                         [this, stat = m_stat] { threadBody(this, *stat); }));
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

eThreadStat WindowsThread::getThreadStat() { return *m_stat; }

void WindowsThread::setRunnable(Runnable* runnable) { m_runnable = runnable; }

void WindowsThread::setThreadAttr(const ThreadAttributes& attributes) { m_attributes = attributes; }

void WindowsThread::run() {
    if (m_runnable != nullptr) {
        m_runnable->work();
    }
}

// Behind the last line the thread may be started again, and the object be gone.
void WindowsThread::threadBody(WindowsThread* self, std::atomic<eThreadStat>& stat) {
    self->run();
    stat = THREAD_STAT_ENDED;
}

std::shared_ptr<platform::Thread> WindowsThread::thread() const { return std::atomic_load(&m_thread); }

}  // namespace vloxlib
