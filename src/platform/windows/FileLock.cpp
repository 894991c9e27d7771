#include "platform/FileLock.h"

#include <windows.h>

#include "platform/windows/WideText.h"

namespace vloxlib::platform {

FileLock::Outcome FileLock::take(const std::string& path) {
    const HANDLE file = CreateFileW(toWide(path).c_str(), GENERIC_READ | GENERIC_WRITE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return UNAVAILABLE;
    }
    m_file = reinterpret_cast<std::intptr_t>(file);
    if (LockFile(file, static_cast<DWORD>(kOffset), 0, 1, 0) != 0) {
        return LOCKED;
    }
    return GetLastError() == ERROR_LOCK_VIOLATION ? TAKEN : UNAVAILABLE;
}

FileLock::~FileLock() {
    if (m_file != -1) {
        CloseHandle(reinterpret_cast<HANDLE>(m_file));
    }
}

}  // namespace vloxlib::platform
