#include "platform/UserSetting.h"

#include <fcntl.h>
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

bool writeAll(int descriptor, const std::string& value) {
    return fchmod(descriptor, 0600) == 0 &&
           write(descriptor, value.data(), value.size()) == static_cast<ssize_t>(value.size());
}

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

void writeUserSetting(const std::string& name, const std::string& value) {
    const std::string folder = settingsFolder();
    if (folder.empty()) {
        return;
    }
    makeFolders(folder);
    const std::string path = folder + '/' + name;
    const Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NONBLOCK | O_CLOEXEC, 0600));
    if (file.isOpen() && !writeAll(file.get(), value)) {
        unlink(path.c_str());
    }
}

}  // namespace vloxlib::platform
