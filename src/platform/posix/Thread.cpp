#include "platform/Thread.h"

#include <csignal>
#include <mutex>
#include <thread>

namespace vloxlib::platform {

namespace {

// For the length of a scope no signal reaches the calling thread, nor, for all its life, a thread made in it.
// Left out are those that a thread brings upon itself: blocked, they would end the process past the program's
// own crash handler.
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t signals;
        sigfillset(&signals);
        for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS}) {
            sigdelset(&signals, fault);
        }
        pthread_sigmask(SIG_SETMASK, &signals, &m_before);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t m_before{};
};

std::thread startWithoutSignals(std::function<void()> body) {
    const SignalsBlocked blocked;
    return std::thread(std::move(body));
}

}  // namespace

struct Thread::Native {
    std::thread thread;
    const std::thread::native_handle_type handle;
    std::mutex joining;

    explicit Native(std::function<void()> body)
        : thread(startWithoutSignals(std::move(body))), handle(thread.native_handle()) {}
};

Thread::Thread(std::function<void()> body) : m_native(std::make_unique<Native>(std::move(body))) {}

Thread::~Thread() {
    if (m_native->thread.joinable()) {
        m_native->thread.detach();
    }
}

void Thread::join() {
    if (pthread_equal(m_native->handle, pthread_self()) != 0) {
        return;
    }
    std::lock_guard<std::mutex> lock(m_native->joining);
    if (m_native->thread.joinable()) {
        m_native->thread.join();
    }
}

unsigned long Thread::handle() const { return m_native->handle; }

}  // namespace vloxlib::platform
