#ifndef DEVSERVER_STOPSIGNAL_H
#define DEVSERVER_STOPSIGNAL_H

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace devserver {

/// Waits that all end when the server is to stop. All operations from any thread.
class StopSignal {
public:
    void wait(std::chrono::steady_clock::duration delay) {
        if (delay.count() > 0) {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_condition.wait_for(lock, delay, [this] { return m_stopped; });
        }
    }
    bool stopped() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_stopped;
    }
    /// Ends all waits, now and from now on.
    void stop() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stopped = true;
        m_condition.notify_all();
    }

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_condition;
    bool m_stopped = false;  // guarded by m_mutex
};

}  // namespace devserver

#endif
