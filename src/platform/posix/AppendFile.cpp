#include "platform/AppendFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "platform/FileOpen.h"

namespace vloxlib::platform {

namespace {

// One that is there already is no fault, and one that can't be made shows when the file is opened.
void makeFolders(const std::string& path) {
    for (auto end = path.find('/', 1); end != std::string::npos; end = path.find('/', end + 1)) {
        makePrivateFolder(path.substr(0, end));
    }
}

int openForAppending(const std::string& path) {
    const auto open = [&path] {
        return ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY, 0600);
    };
    const int descriptor = open();
    if (descriptor >= 0 || errno != ENOENT) {
        return descriptor;
    }
    makeFolders(path);
    return open();
}

}  // namespace

struct AppendFile::Native {
    const int descriptor;

    explicit Native(const std::string& path) : descriptor(openForAppending(path)) {
        if (descriptor < 0) {
            throw std::system_error(errno, std::generic_category(), path);
        }
    }
    ~Native() { close(descriptor); }
    Native(const Native&) = delete;
    Native& operator=(const Native&) = delete;
};

AppendFile::AppendFile(std::string path)
    : m_path(std::move(path)), m_native(std::make_unique<Native>(m_path)) {}

AppendFile::~AppendFile() = default;

std::size_t AppendFile::append(const char* bytes, std::size_t size, std::error_code& failure) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t taken = write(m_native->descriptor, bytes + done, size - done);
        if (taken > 0) {
            done += static_cast<std::size_t>(taken);
        } else if (taken == 0 || errno != EINTR) {
            failure.assign(taken == 0 ? EIO : errno, std::generic_category());
            break;
        }
    }
    return done;
}

std::size_t AppendFile::size() const {
    struct stat own {};
    return fstat(m_native->descriptor, &own) == 0 ? static_cast<std::size_t>(own.st_size) : 0;
}

bool AppendFile::isInPlace() const {
    struct stat own {};
    struct stat there {};
    return fstat(m_native->descriptor, &own) == 0 && stat(m_path.c_str(), &there) == 0 &&
           own.st_dev == there.st_dev && own.st_ino == there.st_ino;
}

bool AppendFile::isRemoved() const {
    struct stat own {};
    return fstat(m_native->descriptor, &own) != 0 || own.st_nlink == 0;
}

}  // namespace vloxlib::platform
