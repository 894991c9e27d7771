#include "vloxlib/task/BackOffMode.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <random>

namespace vloxlib {

namespace {

constexpr int kAfterSuccess = 3600;

// The low 5 bits of the exponent count, so that the shift is defined for all of them.
int powerOfTwo(int exponent) { return static_cast<int>(1U << (static_cast<unsigned>(exponent) & 31U)); }

int randomBetween(int low, int high) {
    try {
        std::random_device device;
        return std::uniform_int_distribution<int>(low, high)(device);
    } catch (const std::exception&) {
        std::srand(static_cast<unsigned>(std::time(nullptr)));
        const long long span = static_cast<long long>(high) - low + 1;
        return static_cast<int>(low + std::rand() % span);
    }
}

}  // namespace

int FixedIntervalBackOffMode::getNextTime(bool success) {
    return success ? kAfterSuccess : m_interval.load();
}

void ExponentBackOffMode::reset() {
    WindowsMutexGuard lock(m_mutex);
    m_failures = 0;
}

int ExponentBackOffMode::getNextTime(bool success) {
    WindowsMutexGuard lock(m_mutex);
    if (success) {
        m_failures = 0;
        return m_successInterval;
    }
    if (m_failures == 0) {
        m_failures = 1;
        return 0;
    }
    if (m_failures >= m_maxExponent) {
        return powerOfTwo(m_maxExponent);
    }
    return powerOfTwo(m_failures++);
}

int ExponentRandomBackOffMode::getNextTime(bool success) {
    WindowsMutexGuard lock(m_mutex);
    const int first = ExponentBackOffMode::getNextTime(success);
    const int second = ExponentBackOffMode::getNextTime(success);
    // Two steps were taken where one is due.
    if (m_failures != 0 && m_failures < m_maxExponent) {
        --m_failures;
    }
    return randomBetween(std::min(first, second), std::max(first, second));
}

}  // namespace vloxlib
