#include "platform/Event.h"

#include <condition_variable>
#include <mutex>

namespace vloxlib::platform {

struct Event::Native {
    const bool automaticReset;
    bool isSet = false;  // guarded by mutex
    std::mutex mutex;
    std::condition_variable condition;

    explicit Native(bool automatic) : automaticReset(automatic) {}
    void pass() { isSet = isSet && !automaticReset; }
};

Event::Event(bool automaticReset) : m_native(std::make_unique<Native>(automaticReset)) {}

Event::~Event() = default;

// The waiter may destroy the event as soon as it is through, so that notifying has to end under the mutex.
void Event::set() {
    std::lock_guard<std::mutex> lock(m_native->mutex);
    m_native->isSet = true;
    if (m_native->automaticReset) {
        m_native->condition.notify_one();
    } else {
        m_native->condition.notify_all();
    }
}

void Event::reset() {
    std::lock_guard<std::mutex> lock(m_native->mutex);
    m_native->isSet = false;
}

void Event::wait() {
    std::unique_lock<std::mutex> lock(m_native->mutex);
    m_native->condition.wait(lock, [this] { return m_native->isSet; });
    m_native->pass();
}

bool Event::waitFor(std::chrono::milliseconds limit) {
    std::unique_lock<std::mutex> lock(m_native->mutex);
    if (!m_native->condition.wait_for(lock, limit, [this] { return m_native->isSet; })) {
        return false;
    }
    m_native->pass();
    return true;
}

}  // namespace vloxlib::platform
