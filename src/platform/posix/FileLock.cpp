#include "platform/FileLock.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <mutex>
#include <set>

#include "platform/Fork.h"

namespace vloxlib::platform {

namespace {

// A lock belongs to the open file, which the child of a fork shares: there it is closed, or it would outlive
// its process.
struct OpenFiles {
    OpenFiles() {
        onFork({[this] { mutex.lock(); }, [this] { mutex.unlock(); },
                [this] {
                    for (const int file : files) {
                        close(file);
                    }
                    files.clear();
                    mutex.unlock();
                }});
    }

    // Never destroyed: a fork may come while the process goes down.
    static OpenFiles& all() {
        static auto& only = *new OpenFiles;
        return only;
    }

    std::mutex mutex;
    std::set<int> files;  // guarded by mutex
};

}  // namespace

FileLock::Outcome FileLock::take(const std::string& path) {
    OpenFiles& open = OpenFiles::all();
    const std::lock_guard<std::mutex> lock(open.mutex);
    const int file = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (file == -1) {
        return UNAVAILABLE;
    }
    struct flock byte = {};
    byte.l_type = F_WRLCK;
    byte.l_whence = SEEK_SET;
    byte.l_start = kOffset;
    byte.l_len = 1;
    const bool locked = fcntl(file, F_OFD_SETLK, &byte) == 0;
    const bool taken = !locked && (errno == EAGAIN || errno == EACCES);
    open.files.insert(file);
    m_file = file;
    if (taken) {
        return TAKEN;
    }
    return locked ? LOCKED : UNAVAILABLE;
}

FileLock::~FileLock() {
    OpenFiles& open = OpenFiles::all();
    const std::lock_guard<std::mutex> lock(open.mutex);
    if (open.files.erase(static_cast<int>(m_file)) != 0) {
        close(static_cast<int>(m_file));
    }
}

}  // namespace vloxlib::platform
