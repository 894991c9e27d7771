#include <chrono>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <thread>

#include "crash/Work.h"
#include "vloxlib/log/vloxLog.h"

namespace fs = std::filesystem;

namespace vlox_test {

namespace {

constexpr auto kSeenLimit = std::chrono::seconds(60);
constexpr int kLongBurst = 3000;  // more than the logger's queue holds

class Writer {
public:
    Writer(std::string directory, std::string generation)
        : m_directory(std::move(directory)),
          m_generation(std::move(generation)),
          m_random(std::random_device{}()) {}

    [[noreturn]] void run() {
        while (m_random() % 40 != 0) {
            switch (m_random() % 8) {
                case 0:
                    write(m_random() % 8 == 0 ? kLongBurst : 300);
                    break;
                case 1:
                case 2:
                    write(1 + static_cast<int>(m_random() % 30));
                    break;
                default:
                    write(static_cast<int>(m_random() % 12));
                    seeAnError();
            }
        }
        close_logger();
        for (;;) {  // who kills may wait for any number of lines
            tell("ok close " + std::to_string(m_count));
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

private:
    void logLine(int level) {
        VLOX_LOG(level, "%s <%s-%ld>", std::string(m_random() % 300, '.').c_str(), m_generation.c_str(),
                 ++m_count);
    }

    void write(int lines) {
        for (int line = 0; line < lines; ++line) {
            logLine(m_random() % 8 == 0 ? 4 : 2);
        }
        tell("ok write " + std::to_string(m_count));
    }

    // An error is written without being waited for, and without anything behind it that could push it on.
    void seeAnError() {
        const std::string file = newestFile();
        const auto from = static_cast<std::streamoff>(fs::file_size(file));
        logLine(4);
        const std::string mark = "<" + m_generation + "-" + std::to_string(m_count) + ">";
        const auto end = std::chrono::steady_clock::now() + kSeenLimit;
        while (textFrom(newestFile(), file, from).find(mark) == std::string::npos) {
            if (std::chrono::steady_clock::now() > end) {
                std::fprintf(stderr, "the line %s doesn't come\n", mark.c_str());
                std::exit(3);
            }
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
        tell("ok see " + std::to_string(m_count));
    }

    // The file of the day, whose name is the last one.
    std::string newestFile() const {
        fs::path newest;
        for (const auto& entry : fs::directory_iterator(m_directory)) {
            newest = std::max(newest, entry.path());
        }
        return newest.string();
    }

    // A file that a new day has begun is read from its start.
    static std::string textFrom(const std::string& file, const std::string& earlier, std::streamoff from) {
        std::ifstream stream(file, std::ios::binary);
        stream.seekg(file == earlier ? from : 0);
        std::ostringstream text;
        text << stream.rdbuf();
        return text.str();
    }

    const std::string m_directory;
    const std::string m_generation;
    std::mt19937 m_random;
    long m_count = 0;
};

}  // namespace

void workLog(const std::string& directory, const std::string& generation) {
    create_logger("crash", (directory + "/crash.log").c_str(), false);
    Writer(directory, generation).run();
}

}  // namespace vlox_test
