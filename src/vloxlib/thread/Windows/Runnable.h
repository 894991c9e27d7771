#ifndef VLOXLIB_THREAD_WINDOWS_RUNNABLE_H
#define VLOXLIB_THREAD_WINDOWS_RUNNABLE_H

#include <vloxlib/Export.h>

namespace vloxlib {

/// @brief The body of a thread, for WindowsThread.
///
/// Ownership: a thread never deletes its Runnable; it has to outlive the thread's run.
/// @note The order of the virtual operations is part of the binary interface.
class VLOX_API Runnable {
public:
    Runnable() = default;
    Runnable(const Runnable&) = default;
    Runnable& operator=(const Runnable&) = default;
    virtual ~Runnable() = default;

    virtual void work() {}  ///< The body; called once per start, on the new thread.
    virtual int pause() { return 0; }
    virtual int cancel() { return 0; }
    virtual int suspendForNetwork() { return 0; }
};

}  // namespace vloxlib

#endif
