#include "platform/RecursiveLock.h"

#include <mutex>

namespace vloxlib::platform {

struct RecursiveLock::Native {
    std::recursive_mutex mutex;
};

RecursiveLock::RecursiveLock() : m_native(std::make_unique<Native>()) {}

RecursiveLock::~RecursiveLock() = default;

void RecursiveLock::lock() { m_native->mutex.lock(); }

void RecursiveLock::unlock() { m_native->mutex.unlock(); }

}  // namespace vloxlib::platform
