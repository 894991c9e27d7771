#ifndef PLATFORM_WINDOWS_HANDLE_H
#define PLATFORM_WINDOWS_HANDLE_H

#include <windows.h>

#include <memory>
#include <system_error>

namespace vloxlib::platform {

struct CloseHandleOf {
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};

// A kernel object's handle. Null where there is none: INVALID_HANDLE_VALUE isn't looked for.
using Handle = std::unique_ptr<void, CloseHandleOf>;

// An operation that takes memory or a handle has failed.
[[noreturn]] inline void throwLastError(const char* what) {
    throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), what);
}

}  // namespace vloxlib::platform

#endif
