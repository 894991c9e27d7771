#include "platform/Event.h"

#include <algorithm>

#include "platform/windows/Handle.h"

namespace vloxlib::platform {

struct Event::Native {
    const Handle handle;

    explicit Native(bool automaticReset)
        : handle(CreateEventW(nullptr, automaticReset ? FALSE : TRUE, FALSE, nullptr)) {
        if (!handle) {
            throwLastError("CreateEventW");
        }
    }
};

Event::Event(bool automaticReset) : m_native(std::make_unique<Native>(automaticReset)) {}

Event::~Event() = default;

void Event::set() { SetEvent(m_native->handle.get()); }

void Event::reset() { ResetEvent(m_native->handle.get()); }

void Event::wait() { WaitForSingleObject(m_native->handle.get(), INFINITE); }

// The longest limit that the system knows is no limit.
bool Event::waitFor(std::chrono::milliseconds limit) {
    const auto count = std::clamp<long long>(limit.count(), 0, INFINITE);
    return WaitForSingleObject(m_native->handle.get(), static_cast<DWORD>(count)) != WAIT_TIMEOUT;
}

}  // namespace vloxlib::platform
