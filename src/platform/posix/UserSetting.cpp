#include "platform/UserSetting.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

namespace vloxlib::platform {

namespace {

class Descriptor {
public:
    explicit Descriptor(int descriptor) : m_descriptor(descriptor) {}
    ~Descriptor() {
        if (isOpen()) {
            close(m_descriptor);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    bool isOpen() const { return m_descriptor >= 0; }
    int get() const { return m_descriptor; }

private:
    const int m_descriptor;
};

std::string environment(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

// Empty when the user has no place for settings. A relative XDG_CONFIG_HOME is to be ignored.
std::string configHome() {
    std::string told = environment("XDG_CONFIG_HOME");
    if (!told.empty() && told.front() == '/') {
        return told;
    }
    const std::string home = environment("HOME");
    return home.empty() ? "" : home + "/.config";
}

std::string settingsFolder() {
    const std::string home = configHome();
    return home.empty() ? "" : home + "/VLOX";
}

// Folders that are there already are no fault; one that can't be made shows when the file is opened.
void makeFolders(const std::string& path) {
    for (auto end = path.find('/', 1); end != std::string::npos; end = path.find('/', end + 1)) {
        mkdir(path.substr(0, end).c_str(), 0700);
    }
    mkdir(path.c_str(), 0700);
}

// Whether the whole of it has reached the disk.
bool writeAll(int descriptor, const std::string& value) {
    return fchmod(descriptor, 0600) == 0 &&
           write(descriptor, value.data(), value.size()) == static_cast<ssize_t>(value.size()) &&
           fsync(descriptor) == 0;
}

// A file with the value under a name of its own, which goes at the end of the scope.
class WrittenAside {
public:
    WrittenAside(const std::string& path, const std::string& value) : m_path(path + ".XXXXXX") {
        const Descriptor file(mkostemp(m_path.data(), O_CLOEXEC));
        m_written = file.isOpen() && writeAll(file.get(), value);
    }
    ~WrittenAside() { unlink(m_path.c_str()); }
    WrittenAside(const WrittenAside&) = delete;
    WrittenAside& operator=(const WrittenAside&) = delete;

    // Whoever comes first has the place.
    void linkTo(const std::string& path) const {
        if (m_written) {
            link(m_path.c_str(), path.c_str());
        }
    }
    void replace(const std::string& path) const {
        if (m_written) {
            rename(m_path.c_str(), path.c_str());
        }
    }

private:
    std::string m_path;
    bool m_written = false;
};

}  // namespace

std::string readUserSetting(const std::string& name, std::size_t limitInBytes) {
    const std::string folder = settingsFolder();
    const Descriptor file(
        folder.empty() ? -1 : open((folder + '/' + name).c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!file.isOpen()) {
        return "";
    }
    std::vector<char> value(limitInBytes + 1);
    const ssize_t length = read(file.get(), value.data(), value.size());
    if (length < 0 || static_cast<std::size_t>(length) > limitInBytes) {
        return "";
    }
    value[static_cast<std::size_t>(length)] = '\0';
    return value.data();
}

std::string claimUserSetting(const std::string& name, const std::string& value, std::size_t limitInBytes) {
    const std::string folder = settingsFolder();
    if (folder.empty()) {
        return "";
    }
    makeFolders(folder);
    const std::string path = folder + '/' + name;
    const WrittenAside aside(path, value);
    aside.linkTo(path);
    std::string stored = readUserSetting(name, limitInBytes);
    if (stored.empty()) {
        // What can't be read is in the way, or the disk knows no links. The lock goes with the descriptor.
        const Descriptor lock(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        flock(lock.get(), LOCK_EX);
        stored = readUserSetting(name, limitInBytes);
        if (stored.empty()) {
            aside.replace(path);
            stored = readUserSetting(name, limitInBytes);
        }
    }
    return stored;
}

}  // namespace vloxlib::platform
