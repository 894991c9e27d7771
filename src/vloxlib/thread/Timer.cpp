#include "vloxlib/thread/Timer.h"

#include <utility>

#include "vloxlib/log/vloxLog.h"
#include "vloxlib/task/BackOffMode.h"

namespace vloxlib {

namespace {

constexpr int kWithoutBackOff = 3600;

}  // namespace

Timer::Timer(const std::function<bool()>& proc, const std::shared_ptr<BackOffMode>& mode, int delay,
             bool stopOnSuccess)
    : m_stopOnSuccess(stopOnSuccess),
      m_thread(std::make_shared<WindowsThread>(static_cast<Runnable*>(this))),
      m_proc(proc),
      m_backOff(mode ? mode : std::make_shared<FixedIntervalBackOffMode>(kWithoutBackOff)),
      m_delay(delay) {}

Timer::Timer(const std::shared_ptr<BackOffMode>& mode, int delay, bool stopOnSuccess)
    : Timer(nullptr, mode, delay, stopOnSuccess) {}

Timer::~Timer() {
    yiledAndWait();
    m_thread->join();  // one that has decided to end may still be on its last steps in work()
}

bool Timer::start() { return launch(false); }

bool Timer::exec(bool reset) {
    if (!launch(true)) {
        VLOX_LOG(4, "thread start failure");
        return false;
    }
    if (reset) {
        m_backOff->reset();
    }
    WindowsMutexGuard lock(m_mutex);
    if (m_kicked) {
        m_condition.notifyOne();
    }
    return true;
}

bool Timer::launch(bool kick) {
    WindowsMutexGuard lock(m_mutex);
    if (m_working) {
        m_again = m_again || m_stop;
        m_kicked = m_kicked || kick;
        return true;
    }
    m_thread->join();  // one that has decided to end has only its last steps left, without the mutex
    m_stop = m_stop && !kick;
    m_working = m_thread->start();
    return m_working;
}

void Timer::setDelay(int seconds) {
    WindowsMutexGuard lock(m_mutex);
    m_delay = seconds;
}

void Timer::setProc(const std::function<bool()>& proc) {
    WindowsMutexGuard lock(m_mutex);
    if (&proc != &m_proc) {
        m_proc = proc;
    }
}

void Timer::setNextBeat(int seconds) { m_backOff->setNextTime(seconds); }

void Timer::yiled() {
    WindowsMutexGuard lock(m_mutex);
    askToStop();
}

void Timer::yiledAndWait() {
    std::shared_ptr<WindowsThread> thread;
    {
        WindowsMutexGuard lock(m_mutex);
        if (!askToStop()) {
            return;
        }
        thread = m_thread;
    }
    m_backOff->reset();
    m_condition.notifyAll();
    thread->join();
}

// @return false when the thread has ended already.
bool Timer::askToStop() {
    const eThreadStat stat = m_thread->getThreadStat();
    m_stop = m_working || stat == THREAD_STAT_NOT_STARTED;
    m_again = false;
    return stat != THREAD_STAT_ENDED;
}

void Timer::work() {
    if (m_previous) {
        m_previous->join();
    }
    sleep(delay());
    std::function<bool()> proc;
    while (beginRun(proc)) {
        const bool success = proc();
        if (!endRun(success)) {
            return;
        }
        sleep(m_backOff->getNextTime(success));
    }
}

int Timer::delay() const {
    WindowsMutexGuard lock(m_mutex);
    return m_delay;
}

void Timer::sleep(int seconds) {
    WindowsMutexGuard lock(m_mutex);
    // Who stops or kicks the timer before it sleeps can't wake it any more.
    if (!m_stop && !m_kicked) {
        m_condition.timedWait(m_mutex, seconds);
    }
}

bool Timer::beginRun(std::function<bool()>& proc) {
    WindowsMutexGuard lock(m_mutex);
    if (m_stop) {
        endCycle();
        return false;
    }
    m_kicked = false;
    proc = m_proc;
    return true;
}

bool Timer::endRun(bool success) {
    WindowsMutexGuard lock(m_mutex);
    if (m_stop || (m_stopOnSuccess && success && !m_kicked)) {
        endCycle();
        return false;
    }
    return true;
}

// Who was told to wait for this thread's end is not to wait for the next cycle's, which so has another
// thread.
void Timer::endCycle() {
    m_stop = false;
    m_kicked = false;
    m_working = std::exchange(m_again, false);
    if (m_working) {
        m_previous = std::exchange(m_thread, std::make_shared<WindowsThread>(static_cast<Runnable*>(this)));
        m_working = m_thread->start();
    }
}

}  // namespace vloxlib
