#include "platform/FileOpen.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace vloxlib::platform {

namespace {

constexpr mode_t kPrivateFile = 0600;
constexpr mode_t kPrivateFolder = 0700;

// How open() says what the mode of fopen() says; -1 for a text that is none.
int openFlags(const char* mode) {
    const bool both = std::strchr(mode, '+') != nullptr;
    const int write = (both ? O_RDWR : O_WRONLY) | O_CREAT | (std::strchr(mode, 'x') != nullptr ? O_EXCL : 0);
    switch (mode[0]) {
        case 'r':
            return both ? O_RDWR : O_RDONLY;
        case 'w':
            return write | O_TRUNC;
        case 'a':
            return write | O_APPEND;
        default:
            return -1;
    }
}

}  // namespace

std::FILE* openFile(const std::string& path, const char* mode) {
    const int flags = openFlags(mode);
    if (flags == -1) {
        errno = EINVAL;
        return nullptr;
    }
    const int descriptor = open(path.c_str(), flags | O_CLOEXEC, kPrivateFile);
    if (descriptor == -1) {
        return nullptr;
    }
    if ((flags & O_APPEND) != 0) {
        lseek(descriptor, 0, SEEK_END);  // so that ftell() counts from there, as after fopen()
    }
    std::FILE* const file = fdopen(descriptor, mode);
    if (file == nullptr) {
        close(descriptor);
    }
    return file;
}

void makePrivateFile(const std::string& path) {
    const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kPrivateFile);
    if (descriptor != -1) {
        close(descriptor);
    }
}

bool makePrivateFolder(const std::string& path) { return mkdir(path.c_str(), kPrivateFolder) == 0; }

bool seekFile(std::FILE* file, long long offset) { return fseeko(file, offset, SEEK_SET) == 0; }

long long fileLength(std::FILE* file) {
    const off_t length = fseeko(file, 0, SEEK_END) == 0 ? ftello(file) : -1;
    return fseeko(file, 0, SEEK_SET) == 0 ? length : -1;
}

// What can't be synced, such as a device, is no refusal.
bool syncFile(std::FILE* file) {
    return std::fflush(file) == 0 && (fsync(fileno(file)) == 0 || errno == EINVAL);
}

}  // namespace vloxlib::platform
