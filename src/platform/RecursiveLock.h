#ifndef PLATFORM_RECURSIVELOCK_H
#define PLATFORM_RECURSIVELOCK_H

#include <memory>

namespace vloxlib::platform {

/// @brief A lock that re-enters on its owning thread and needs as many unlock() as lock() calls.
///
/// In the child of a fork it is free, unless the thread that forked held it. Threads: any. Errors: only the
/// constructor can fail, with std::system_error.
class RecursiveLock {
public:
    RecursiveLock();
    ~RecursiveLock();
    RecursiveLock(const RecursiveLock&) = delete;
    RecursiveLock& operator=(const RecursiveLock&) = delete;

    void lock();
    void unlock();

private:
    struct Native;
    static void refresh(RecursiveLock& lock);  // on systems with forks

    std::unique_ptr<Native> m_native;
};

}  // namespace vloxlib::platform

#endif
