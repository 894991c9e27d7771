#include "platform/RecursiveLock.h"

#include "platform/windows/Handle.h"

namespace vloxlib::platform {

namespace {

// Most locks are held for less time than it takes to put a thread to sleep.
constexpr DWORD kSpinCount = 4000;

}  // namespace

struct RecursiveLock::Native {
    CRITICAL_SECTION section;

    Native() {
        if (InitializeCriticalSectionAndSpinCount(&section, kSpinCount) == FALSE) {
            throwLastError("InitializeCriticalSectionAndSpinCount");
        }
    }
    ~Native() { DeleteCriticalSection(&section); }
    Native(const Native&) = delete;
    Native& operator=(const Native&) = delete;
};

RecursiveLock::RecursiveLock() : m_native(std::make_unique<Native>()) {}

RecursiveLock::~RecursiveLock() = default;

void RecursiveLock::lock() { EnterCriticalSection(&m_native->section); }

void RecursiveLock::unlock() { LeaveCriticalSection(&m_native->section); }

}  // namespace vloxlib::platform
