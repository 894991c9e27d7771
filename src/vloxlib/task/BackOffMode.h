/// @file
/// @brief How long to wait before the next attempt, given whether the last one succeeded.
#ifndef VLOXLIB_TASK_BACKOFFMODE_H
#define VLOXLIB_TASK_BACKOFFMODE_H

#include <vloxlib/Export.h>
#include <vloxlib/thread/Windows/WindowsMutex.h>
#include <atomic>

namespace vloxlib {

/// @brief A rule for the time between two attempts. All times are seconds.
///
/// Threads: the implementations below may be used from any thread.
class VLOX_API BackOffMode {
public:
    virtual void reset() = 0;                   ///< Back to the state before the first attempt.
    virtual int getNextTime(bool success) = 0;  ///< @return the seconds to wait; may move the rule on
    virtual void setNextTime(int seconds) = 0;  ///< Asks for an interval; not every rule heeds it.

protected:
    BackOffMode() = default;
    BackOffMode(const BackOffMode&) = default;
    BackOffMode& operator=(const BackOffMode&) = default;
    ~BackOffMode() = default;  // shared pointers remember what they were made from
};

/// @brief The same interval after each failure; an hour after a success, whatever the interval.
class VLOX_API FixedIntervalBackOffMode final : public BackOffMode {
public:
    explicit FixedIntervalBackOffMode(int interval) : m_interval(interval) {}

    void reset() override {}
    int getNextTime(bool success) override;
    void setNextTime(int seconds) override { m_interval = seconds; }

private:
    std::atomic<int> m_interval;
};

/// @brief After failures 0, 2, 4, 8 and so on up to 2 to the power of the maximum exponent, and that from
/// then on; after a success the given interval, and the count of failures begins anew.
class VLOX_API ExponentBackOffMode : public BackOffMode {
public:
    /// @param maxExponent the largest power of two; its low 5 bits count
    ExponentBackOffMode(int maxExponent, int successInterval)
        : m_maxExponent(maxExponent), m_successInterval(successInterval) {}

    void reset() override;
    int getNextTime(bool success) override;
    void setNextTime(int /*seconds*/) override {}

protected:
    const int m_maxExponent;
    const int m_successInterval;
    int m_failures = 0;  // guarded by m_mutex
    WindowsMutex m_mutex;
};

/// @brief As its base, but somewhere between one step of it and the next, so that many clients that failed
/// together don't come back together.
class VLOX_API ExponentRandomBackOffMode : public ExponentBackOffMode {
public:
    using ExponentBackOffMode::ExponentBackOffMode;

    int getNextTime(bool success) override;
};

}  // namespace vloxlib

#endif
