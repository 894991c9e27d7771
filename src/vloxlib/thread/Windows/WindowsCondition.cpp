#include "vloxlib/thread/Windows/WindowsCondition.h"

#include <algorithm>
#include <chrono>
#include <cstdint>

#include "platform/Event.h"

namespace vloxlib {

WindowsConditionInternal::WindowsConditionInternal(bool autoReset)
    : m_event(std::make_unique<platform::Event>(autoReset)) {}

WindowsConditionInternal::~WindowsConditionInternal() = default;

void WindowsConditionInternal::set() { m_event->set(); }

void WindowsConditionInternal::reset() { m_event->reset(); }

void WindowsConditionInternal::wait() { m_event->wait(); }

bool WindowsConditionInternal::tryWait(long milliseconds) {
    // The system's wait takes an unsigned 32-bit count; a negative one so becomes a very long wait.
    const auto limit = static_cast<std::uint32_t>(milliseconds) + 1U;
    return m_event->waitFor(std::chrono::milliseconds(limit));
}

WindowsCondition::WindowsCondition() = default;

WindowsCondition::~WindowsCondition() = default;

int WindowsCondition::wait(WindowsMutex& mutex) {
    WindowsMutexUnlockGuard heldAtTheEnd(mutex, false);
    WindowsConditionInternal waiter;
    release(mutex, waiter);
    waiter.wait();
    return 0;
}

int WindowsCondition::timedWait(WindowsMutex& mutex, int seconds) {
    WindowsMutexUnlockGuard heldAtTheEnd(mutex, false);
    WindowsConditionInternal waiter;
    release(mutex, waiter);
    // The product wraps in 32 bits, without a sign: the wait's own width.
    const auto milliseconds = static_cast<std::uint32_t>(seconds) * 1000U;
    if (waiter.tryWait(static_cast<long>(milliseconds))) {
        return 0;
    }
    WindowsMutexGuard lock(m_mutex);
    dequeue(waiter);
    return -1;
}

void WindowsCondition::notifyOne() {
    WindowsMutexGuard lock(m_mutex);
    if (WindowsConditionInternal* waiter = dequeue()) {
        waiter->set();
    }
}

void WindowsCondition::notifyAll() {
    WindowsMutexGuard lock(m_mutex);
    while (WindowsConditionInternal* waiter = dequeue()) {
        waiter->set();
    }
}

void WindowsCondition::enqueue(WindowsConditionInternal& waiter) { m_waiters.push_back(&waiter); }

void WindowsCondition::dequeue(WindowsConditionInternal& waiter) {
    const auto place = std::find(m_waiters.begin(), m_waiters.end(), &waiter);
    if (place != m_waiters.end()) {
        m_waiters.erase(place);
    }
}

WindowsConditionInternal* WindowsCondition::dequeue() {
    if (m_waiters.empty()) {
        return nullptr;
    }
    WindowsConditionInternal* const first = m_waiters.front();
    m_waiters.pop_front();
    return first;
}

// Both under the condition's own mutex: a notification can't fall between the release and the arrival.
void WindowsCondition::release(WindowsMutex& mutex, WindowsConditionInternal& waiter) {
    WindowsMutexGuard lock(m_mutex);
    mutex.unLock();
    enqueue(waiter);
}

}  // namespace vloxlib
