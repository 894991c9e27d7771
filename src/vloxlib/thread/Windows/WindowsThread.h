#ifndef VLOXLIB_THREAD_WINDOWS_WINDOWSTHREAD_H
#define VLOXLIB_THREAD_WINDOWS_WINDOWSTHREAD_H

#include <vloxlib/Export.h>
#include <atomic>
#include <memory>

namespace vloxlib {

namespace platform {
class Thread;
}
class Runnable;

enum eThreadStat : int { THREAD_STAT_NOT_STARTED = 0, THREAD_STAT_RUNNING = 1, THREAD_STAT_ENDED = 2 };

/// @brief Three words that setThreadAttr() stores and nobody applies.
struct ThreadAttributes {
    unsigned long first = 0;
    unsigned long second = 0;
    unsigned long third = 0;
};

/// @brief A thread around a Runnable, or around an overridden run().
///
/// Life: start(), then join() before the object goes: the destructor neither waits for the thread nor deletes
/// the Runnable. A thread that has ended can be started again, as soon as getThreadStat() says so. Threads:
/// join() and getThreadStat() from any thread; start() isn't safe against itself on one object. Ownership:
/// the Runnable is the caller's. Copies share the running thread. Errors: start() reports a thread that can't
/// be made once, by false and a line of level 5; nothing throws.
class VLOX_API WindowsThread {
public:
    WindowsThread();
    explicit WindowsThread(Runnable* runnable);
    WindowsThread(const WindowsThread& other);
    WindowsThread& operator=(const WindowsThread& other);
    virtual ~WindowsThread();

    /// @brief Makes the thread, unless it runs.
    /// @return true when it runs; false when none could be made. Later calls then say true without a thread.
    bool start();
    void join();  ///< Waits for the thread's end; returns at once on one that was never made.
    unsigned long getThreadHandle() const;  ///< The system's handle, 0 before the first start.
    eThreadStat getThreadStat();
    void setRunnable(Runnable* runnable);
    void setThreadAttr(const ThreadAttributes& attributes);

protected:
    virtual void run();  ///< The body: the Runnable's work(), when there is one.

private:
    static void threadBody(WindowsThread* self, std::atomic<eThreadStat>& stat);
    std::shared_ptr<platform::Thread> thread() const;

    // Whether it runs, in one word. It is shared with the thread, which still touches it when its owner,
    // seeing it ended, has destroyed the object.
    std::shared_ptr<std::atomic<eThreadStat>> m_stat;
    Runnable* m_runnable = nullptr;
    std::shared_ptr<platform::Thread> m_thread;  // accessed atomically: start() may replace it in a join()
    ThreadAttributes m_attributes;
};

}  // namespace vloxlib

#endif
