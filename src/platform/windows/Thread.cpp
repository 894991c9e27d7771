#include "platform/Thread.h"

#include <process.h>

#include <cerrno>
#include <cstdint>
#include <utility>

#include "platform/windows/Handle.h"

namespace vloxlib::platform {

namespace {

// An exception that nobody catches ends the process, as it does in a thread of the standard library.
unsigned __stdcall runBody(void* argument) noexcept {
    const std::unique_ptr<std::function<void()>> body(static_cast<std::function<void()>*>(argument));
    (*body)();
    return 0;
}

}  // namespace

struct Thread::Native {
    unsigned id = 0;
    Handle handle;

    explicit Native(std::function<void()> given) {
        auto body = std::make_unique<std::function<void()>>(std::move(given));
        handle.reset(reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, runBody, body.get(), 0, &id)));
        if (!handle) {
            throw std::system_error(errno, std::generic_category(), "_beginthreadex");
        }
        body.release();  // the thread's now
    }
};

Thread::Thread(std::function<void()> body) : m_native(std::make_unique<Native>(std::move(body))) {}

Thread::~Thread() = default;

void Thread::join() {
    if (GetCurrentThreadId() != m_native->id) {
        WaitForSingleObject(m_native->handle.get(), INFINITE);
    }
}

// A handle has 32 significant bits, whatever a pointer's size.
unsigned long Thread::handle() const {
    return static_cast<unsigned long>(reinterpret_cast<std::uintptr_t>(m_native->handle.get()));
}

}  // namespace vloxlib::platform
