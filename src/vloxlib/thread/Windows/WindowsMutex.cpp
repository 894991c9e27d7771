#include "vloxlib/thread/Windows/WindowsMutex.h"

#include "platform/RecursiveLock.h"

namespace vloxlib {

WindowsMutex::WindowsMutex(eMutexType /*type*/) : m_lock(std::make_shared<platform::RecursiveLock>()) {}

WindowsMutex::WindowsMutex(const WindowsMutex&) = default;

WindowsMutex& WindowsMutex::operator=(const WindowsMutex&) = default;

WindowsMutex::~WindowsMutex() = default;

bool WindowsMutex::lock() const {
    m_lock->lock();
    return true;
}

bool WindowsMutex::unLock() const {
    m_lock->unlock();
    return true;
}

}  // namespace vloxlib
