#include "vloxlib/thread/Timer.h"

#include "vloxlib/log/vloxLog.h"
#include "vloxlib/task/BackOffMode.h"

namespace vloxlib {

Timer::Timer(const std::function<bool()>& proc, const std::shared_ptr<BackOffMode>& mode, int delay,
             bool stopOnSuccess)
    : m_stopOnSuccess(stopOnSuccess),
      m_thread(std::make_shared<WindowsThread>(static_cast<Runnable*>(this))),
      m_proc(proc),
      m_backOff(mode),
      m_delay(delay) {}

Timer::Timer(const std::shared_ptr<BackOffMode>& mode, int delay, bool stopOnSuccess)
    : Timer(nullptr, mode, delay, stopOnSuccess) {}

Timer::~Timer() {
    yiledAndWait();
    m_thread->join();  // one that counts as ended may still be on its last steps in work()
}

bool Timer::start() { return m_thread->start(); }

bool Timer::exec(bool reset) {
    if (!m_thread->start()) {
        VLOX_LOG(4, "thread start failure");
        return false;
    }
    if (reset) {
        m_backOff->reset();
    }
    m_condition.notifyOne();
    return true;
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
    if (m_thread->getThreadStat() != THREAD_STAT_ENDED) {
        m_stop = true;
    }
}

void Timer::yiledAndWait() {
    {
        WindowsMutexGuard lock(m_mutex);
        if (m_thread->getThreadStat() == THREAD_STAT_ENDED) {
            return;
        }
        m_stop = true;
        m_backOff->reset();
        m_condition.notifyAll();
    }
    m_thread->join();
}

void Timer::work() {
    {
        WindowsMutexGuard lock(m_mutex);
        // Who stops the timer before it sleeps can't wake it any more.
        if (!m_stop) {
            m_condition.timedWait(m_mutex, m_delay);
        }
    }
    while (!takeStop() && runOnce()) {
    }
}

// One run and the sleep behind it. False: that was the last one.
bool Timer::runOnce() {
    std::function<bool()> proc;
    {
        WindowsMutexGuard lock(m_mutex);
        proc = m_proc;
    }
    const bool success = proc();

    WindowsMutexGuard lock(m_mutex);
    if (m_stop || (m_stopOnSuccess && success)) {
        m_stop = false;
        return false;
    }
    m_condition.timedWait(m_mutex, m_backOff->getNextTime(success));
    return true;
}

bool Timer::takeStop() {
    WindowsMutexGuard lock(m_mutex);
    const bool stop = m_stop;
    m_stop = false;
    return stop;
}

}  // namespace vloxlib
