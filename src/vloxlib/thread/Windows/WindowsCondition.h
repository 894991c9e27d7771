#ifndef VLOXLIB_THREAD_WINDOWS_WINDOWSCONDITION_H
#define VLOXLIB_THREAD_WINDOWS_WINDOWSCONDITION_H

#include <vloxlib/Export.h>
#include <vloxlib/Noncopyable.h>
#include <vloxlib/Types.h>
#include <vloxlib/thread/Windows/WindowsMutex.h>
#include <deque>
#include <memory>

namespace vloxlib {

namespace platform {
class Event;
}

/// @brief One waiter's event. It starts unsignalled; set() is remembered while nobody waits.
///
/// Threads: any; it has to outlive its waiters. Errors: only the constructor can fail, with
/// std::system_error.
class VLOX_API WindowsConditionInternal : public Noncopyable {
public:
    /// @param autoReset true: one set() lets one wait through; false: it stays set until reset()
    explicit WindowsConditionInternal(bool autoReset = true);
    ~WindowsConditionInternal() override;

    void set();
    void reset();
    void wait();
    /// @brief Waits for one millisecond more than asked for. @return false when the time passed first
    bool tryWait(long milliseconds);

private:
    friend class WindowsCondition;
    bool tryWaitFor(int64 milliseconds);  // also where a long is too short

    std::unique_ptr<platform::Event> m_event;
};

/// @brief A condition that wakes strictly first come, first served, with no spurious wake-ups.
///
/// It has no memory: a notification without a waiter is lost. One that lands between a waiter's time-out and
/// its return is used up while the waiter reports the time-out, so that a caller has to test its predicate
/// again after a time-out as well as after a wake-up. Threads: any; notifications with or without the
/// caller's mutex. Lock order: the caller's mutex, then the condition's own. It must not be destroyed while a
/// thread waits on it.
class VLOX_API WindowsCondition : public Noncopyable {
public:
    WindowsCondition();
    ~WindowsCondition() override;

    /// @brief Releases the mutex, which the caller holds, waits for a notification and takes the mutex again.
    /// @return 0
    int wait(WindowsMutex& mutex);
    /// @brief As wait(), for at most so many seconds; a negative number is a very long time.
    /// @return 0 when woken, -1 when the time passed first
    int timedWait(WindowsMutex& mutex, int seconds);
    void notifyOne();  ///< Wakes the waiter that has waited longest.
    void notifyAll();  ///< Wakes all that wait at the call, in the order in which they came.

protected:
    void enqueue(WindowsConditionInternal& waiter);
    void dequeue(WindowsConditionInternal& waiter);  ///< A waiter that is no longer there is no fault.
    WindowsConditionInternal* dequeue();             ///< @return the oldest waiter, null when there is none

private:
    void release(WindowsMutex& mutex, WindowsConditionInternal& waiter);

    WindowsMutex m_mutex;
    std::deque<WindowsConditionInternal*>
        m_waiters;  // guarded by m_mutex; owned by the waiting threads' stacks
};

}  // namespace vloxlib

#endif
