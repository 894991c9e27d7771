#include "platform/Thread.h"

#include <mutex>
#include <thread>

namespace vloxlib::platform {

struct Thread::Native {
    std::thread thread;
    const std::thread::native_handle_type handle;
    std::mutex joining;

    explicit Native(std::function<void()> body) : thread(std::move(body)), handle(thread.native_handle()) {}
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
