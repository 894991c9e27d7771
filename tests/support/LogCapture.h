#ifndef TESTS_SUPPORT_LOGCAPTURE_H
#define TESTS_SUPPORT_LOGCAPTURE_H

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "support/TempDir.h"
#include "vloxlib/log/vloxLog.h"

namespace vlox_test {

/// Catches what is logged from its construction on, every level of it, through the real logger and its file.
class LogCapture {
public:
    LogCapture() {
        create_logger("capture", m_dir.path("capture.log").c_str(), false);
        set_logger_level(0);
        m_before = static_cast<std::ptrdiff_t>(lines().size());
    }
    ~LogCapture() { set_logger_level(5); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// All lines so far. An error line reaches the disk at once, and with it all that was queued before.
    std::vector<std::string> lines() const {
        const std::string marker = "capture marker " + std::to_string(++m_markers);
        vloxprint_v2(4, "LogCapture.h", "lines", 0, "%s", marker.c_str());
        const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (std::chrono::steady_clock::now() < giveUp) {
            std::vector<std::string> found = fileLines();
            if (!found.empty() && found.back().find(marker) != std::string::npos) {
                found.erase(std::remove_if(found.begin(), found.end(), isMarker), found.end());
                found.erase(found.begin(), found.begin() + m_before);
                return found;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        return {"LogCapture: the marker line never arrived"};
    }
    /// How many lines hold the text.
    std::ptrdiff_t count(const std::string& text) const {
        const std::vector<std::string> all = lines();
        return std::count_if(all.begin(), all.end(),
                             [&](const std::string& line) { return line.find(text) != std::string::npos; });
    }
    /// How many lines of a level, "E" for an error, hold the text.
    std::ptrdiff_t count(const std::string& levelLetter, const std::string& text) const {
        const std::vector<std::string> all = lines();
        return std::count_if(all.begin(), all.end(), [&](const std::string& line) {
            return line.find("[" + levelLetter + "] [") == 24 && line.find(text) != std::string::npos;
        });
    }

private:
    static bool isMarker(const std::string& line) {
        return line.find("capture marker ") != std::string::npos;
    }

    std::vector<std::string> fileLines() const {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(m_dir.path())) {
            std::ifstream file(entry.path());
            for (std::string line; std::getline(file, line);) {
                found.push_back(line);
            }
        }
        return found;
    }

    TempDir m_dir;
    mutable int m_markers = 0;
    std::ptrdiff_t m_before = 0;  // the logger's own lines on its start
};

}  // namespace vlox_test

#endif
