#include "platform/ProductName.h"

#include <fstream>

namespace vloxlib::platform {

namespace {

// Values are written as for a shell: bare, or in quotes of either kind, with a backslash ahead of special
// characters.
std::string unquoted(const std::string& written) {
    const bool quoted = written.size() >= 2 && (written.front() == '"' || written.front() == '\'') &&
                        written.back() == written.front();
    const bool verbatim = quoted && written.front() == '\'';
    const std::string inner = quoted ? written.substr(1, written.size() - 2) : written;
    std::string value;
    for (std::size_t place = 0; place < inner.size(); ++place) {
        if (!verbatim && inner[place] == '\\' && place + 1 < inner.size()) {
            ++place;
        }
        value += inner[place];
    }
    return value;
}

}  // namespace

std::string productName() {
    const std::string key = "PRETTY_NAME=";
    std::ifstream release("/etc/os-release");
    for (std::string line; std::getline(release, line);) {
        if (line.compare(0, key.size(), key) == 0) {
            return unquoted(line.substr(key.size()));
        }
    }
    return "";
}

}  // namespace vloxlib::platform
