#include "platform/AppendFile.h"

#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <utility>

#include "platform/windows/Handle.h"
#include "platform/windows/WideText.h"

namespace vloxlib::platform {

namespace {

// The right to append alone, without the one to write, makes the system put each piece at the end. Deletion
// isn't shared: the name stays as long as the handle.
HANDLE openForAppending(const std::wstring& path) {
    return CreateFileW(path.c_str(), FILE_APPEND_DATA | FILE_READ_ATTRIBUTES | SYNCHRONIZE,
                       FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                       nullptr);
}

}  // namespace

struct AppendFile::Native {
    Handle handle;

    explicit Native(const std::string& path) {
        const std::wstring wide = toWide(path);
        HANDLE opened = openForAppending(wide);
        if (opened == INVALID_HANDLE_VALUE && GetLastError() == ERROR_PATH_NOT_FOUND) {
            std::error_code ignored;  // shows at the next line
            std::filesystem::create_directories(std::filesystem::path(wide).parent_path(), ignored);
            opened = openForAppending(wide);
        }
        if (opened == INVALID_HANDLE_VALUE) {
            throwLastError("CreateFileW");
        }
        handle.reset(opened);
    }
};

AppendFile::AppendFile(std::string path)
    : m_path(std::move(path)), m_native(std::make_unique<Native>(m_path)) {}

AppendFile::~AppendFile() = default;

std::size_t AppendFile::append(const char* bytes, std::size_t size, std::error_code& failure) {
    std::size_t done = 0;
    while (done < size) {
        DWORD taken = 0;
        const auto piece = static_cast<DWORD>(std::min<std::size_t>(size - done, MAXLONG));
        if (WriteFile(m_native->handle.get(), bytes + done, piece, &taken, nullptr) == FALSE || taken == 0) {
            failure.assign(static_cast<int>(GetLastError()), std::system_category());
            break;
        }
        done += taken;
    }
    return done;
}

std::size_t AppendFile::size() const {
    LARGE_INTEGER size{};
    GetFileSizeEx(m_native->handle.get(), &size);
    return static_cast<std::size_t>(size.QuadPart);
}

bool AppendFile::isInPlace() const { return true; }

bool AppendFile::isRemoved() const { return false; }

}  // namespace vloxlib::platform
