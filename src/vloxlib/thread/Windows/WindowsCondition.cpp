#include "vloxlib/thread/Windows/WindowsCondition.h"

#include <algorithm>
#include <chrono>
#include <cstdint>

#include "platform/Event.h"

namespace vloxlib {

namespace {

constexpr int64 kLongestWait = 3155760000000;  // a hundred years: the clock counts nanoseconds in 64 bits

}  // namespace

WindowsConditionInternal::WindowsConditionInternal(bool autoReset)
    : m_event(std::make_unique<platform::Event>(autoReset)) {}

WindowsConditionInternal::~WindowsConditionInternal() = default;

void WindowsConditionInternal::set() { m_event->set(); }

void WindowsConditionInternal::reset() { m_event->reset(); }

void WindowsConditionInternal::wait() { m_event->wait(); }

bool WindowsConditionInternal::tryWait(long milliseconds) { return tryWaitFor(milliseconds); }

// A negative limit is taken for what it is as an unsigned 32-bit count, so that it becomes a very long one.
bool WindowsConditionInternal::tryWaitFor(int64 milliseconds) {
    const int64 limit = milliseconds < 0 ? static_cast<std::uint32_t>(milliseconds) + 1U
                                         : std::min(milliseconds, kLongestWait) + 1;
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
    if (waiter.tryWaitFor(int64{seconds} * 1000)) {
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
