#ifndef VLOXLIB_THREAD_WINDOWS_WINDOWSMUTEX_H
#define VLOXLIB_THREAD_WINDOWS_WINDOWSMUTEX_H

#include <vloxlib/Export.h>
#include <memory>

namespace vloxlib {

namespace platform {
class RecursiveLock;
}

/// Kinds of mutex. The kind is ignored: every mutex re-enters on its owning thread.
enum eMutexType : int { MUTEX_TYPE_DEFAULT = 0, MUTEX_TYPE_RECURSIVE = 1 };

/// @brief A lock that re-enters on its owning thread.
///
/// A thread needs as many unLock() as lock() calls. Copies share one lock, which lives as long as the last of
/// them. Errors: none are reported by lock() and unLock(); the constructor throws std::system_error when the
/// system has no lock to give.
class VLOX_API WindowsMutex {
public:
    explicit WindowsMutex(eMutexType type = MUTEX_TYPE_DEFAULT);
    WindowsMutex(const WindowsMutex&);
    WindowsMutex& operator=(const WindowsMutex&);
    ~WindowsMutex();

    bool lock() const;    ///< @return true, always
    bool unLock() const;  ///< @return true, always

private:
    std::shared_ptr<platform::RecursiveLock> m_lock;
};

/// @brief Holds a mutex for the length of a scope. The mutex has to outlive the guard.
class VLOX_API WindowsMutexGuard {
public:
    explicit WindowsMutexGuard(const WindowsMutex& mutex) : m_mutex(&mutex) { m_mutex->lock(); }
    ~WindowsMutexGuard() { m_mutex->unLock(); }
    WindowsMutexGuard(const WindowsMutexGuard&) = delete;
    WindowsMutexGuard& operator=(const WindowsMutexGuard&) = delete;

private:
    const WindowsMutex* m_mutex;
};

/// @brief The inverse guard: lets a scope run without the lock and holds it again at the end.
///
/// The constructor releases the mutex when told to; the destructor always takes it. The mutex has to outlive
/// it.
class VLOX_API WindowsMutexUnlockGuard {
public:
    WindowsMutexUnlockGuard(const WindowsMutex& mutex, bool unlockNow) : m_mutex(&mutex) {
        if (unlockNow) {
            m_mutex->unLock();
        }
    }
    ~WindowsMutexUnlockGuard() { m_mutex->lock(); }
    WindowsMutexUnlockGuard(const WindowsMutexUnlockGuard&) = delete;
    WindowsMutexUnlockGuard& operator=(const WindowsMutexUnlockGuard&) = delete;

private:
    const WindowsMutex* m_mutex;
};

}  // namespace vloxlib

#endif
