#ifndef PLATFORM_THREAD_H
#define PLATFORM_THREAD_H

#include <functional>
#include <memory>

namespace vloxlib::platform {

/// @brief One running thread. It takes none of the signals that the process is sent: those are the program's.
///
/// Life: the thread runs from construction on; the destructor neither waits nor stops it.
/// Threads: join() from any thread, from several at once and repeatedly; from the thread itself it returns at
/// once. Errors: the constructor throws std::system_error with the system's code when no thread can be made.
class Thread {
public:
    explicit Thread(std::function<void()> body);
    ~Thread();
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    void join();                   ///< Returns when the thread has ended.
    unsigned long handle() const;  ///< The system's handle, for display and comparison only.

private:
    struct Native;
    std::unique_ptr<Native> m_native;
};

}  // namespace vloxlib::platform

#endif
