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

// In steps, since the system counts in 32 bits, and its longest limit is no limit.
bool Event::waitFor(std::chrono::milliseconds limit) {
    using Clock = std::chrono::steady_clock;
    constexpr std::chrono::milliseconds kLongestStep(INFINITE - 1);
    for (const auto end = Clock::now() + limit;;
         limit = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now())) {
        const auto step = std::clamp(limit, std::chrono::milliseconds(0), kLongestStep);
        if (WaitForSingleObject(m_native->handle.get(), static_cast<DWORD>(step.count())) != WAIT_TIMEOUT) {
            return true;
        }
        if (step == limit) {
            return false;
        }
    }
}

}  // namespace vloxlib::platform
