#ifndef PLATFORM_EVENT_H
#define PLATFORM_EVENT_H

#include <chrono>
#include <memory>

namespace vloxlib::platform {

/// @brief An event: set() lets waiters through and is remembered while nobody waits.
///
/// With automatic reset each set() lets exactly one waiter through; without it the event stays set until
/// reset(). Threads: all operations from any thread; the event must outlive its waiters. Errors: only the
/// constructor can fail, with std::system_error.
class Event {
public:
    explicit Event(bool automaticReset);
    ~Event();
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    void set();
    void reset();
    void wait();
    bool waitFor(std::chrono::milliseconds limit);  ///< @return false when the limit passed first

private:
    struct Native;
    std::unique_ptr<Native> m_native;
};

}  // namespace vloxlib::platform

#endif
