#include "crash/LogCrash.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

namespace vlox_test {

namespace {

constexpr long kQueue = 2048;
constexpr long kUnflushed = 9;  // the tenth line brings them all to the file

std::string textOfFiles(const std::string& directory) {
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(directory)) {
        files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    std::ostringstream text;
    for (const fs::path& file : files) {
        text << std::ifstream(file, std::ios::binary).rdbuf();
    }
    return text.str();
}

}  // namespace

LogCrash::LogCrash(const std::string& directory, unsigned seed) : CrashRun("log", directory, seed) {}

void LogCrash::killOnce() {
    const std::string mark = "<" + generation() + "-";
    long acknowledged = 0;
    for (const std::string& line : liveAndDie(directory(), generation(), random() % 40)) {
        countOperation();
        acknowledged = std::max(acknowledged, acknowledgedBy(line));
    }
    const std::string text = textOfFiles(directory());
    if (text.compare(0, m_text.size(), m_text) != 0) {
        lose("what earlier lives wrote has changed");
    }
    const long found = countOfNewLines(text, mark);
    if (found < acknowledged) {
        lose("line " + std::to_string(acknowledged) + " was acknowledged, the last one there is " +
             std::to_string(found));
    }
    m_text = text;
}

long LogCrash::acknowledgedBy(const std::string& line) {
    std::istringstream words(line);
    std::string ok;
    std::string operation;
    long count = 0;
    words >> ok >> operation >> count;
    return operation == "write" ? count - kQueue - kUnflushed : count;
}

// The lines of one life bear numbers without a gap; only the last one may have been cut off by the kill.
long LogCrash::countOfNewLines(const std::string& text, const std::string& mark) {
    long count = 0;
    std::size_t at = text.find(mark, m_text.size());
    for (; at != std::string::npos; at = text.find(mark, at + 1)) {
        const std::size_t end = text.find('>', at);
        const std::string number = text.substr(at + mark.size(), end - at - mark.size());
        if (end != std::string::npos && number != std::to_string(++count)) {
            lose("line " + number + " stands where line " + std::to_string(count) + " should");
            break;
        }
    }
    return count;
}

}  // namespace vlox_test
