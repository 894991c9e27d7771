#include "crash/CrashRun.h"

#include <Poco/Pipe.h>
#include <Poco/PipeStream.h>
#include <Poco/Process.h>

#include <chrono>
#include <thread>
#include <utility>

namespace vlox_test {

CrashRun::CrashRun(std::string work, std::string directory, unsigned seed)
    : m_work(std::move(work)), m_directory(std::move(directory)), m_random(seed) {}

std::vector<std::string> CrashRun::liveAndDie(const std::string& directory, const std::string& generation,
                                              std::size_t atLeastLines) {
    Poco::Pipe output;
    const Poco::ProcessHandle process = Poco::Process::launch(
        VLOX_CRASH_WORKER_PATH, {m_work, directory, generation}, nullptr, &output, nullptr);
    Poco::PipeInputStream stream(output);
    std::vector<std::string> lines;
    std::string line;
    std::getline(stream, line);  // "ready": a kill ahead of it would be of a program that hasn't begun
    while (lines.size() < atLeastLines && std::getline(stream, line)) {
        lines.push_back(line);
    }
    // The program goes on at once behind a line: how far it gets depends on the disk.
    const auto longest = 5000U << m_random() % 4;
    std::this_thread::sleep_for(std::chrono::microseconds(m_random() % longest));
    if (!Poco::Process::isRunning(process)) {
        lose("the program ended by itself");
    } else {
        Poco::Process::kill(process.id());
        countKill();
    }
    while (std::getline(stream, line)) {
        // The last line may have been cut off by the kill.
        if (!stream.eof()) {
            lines.push_back(line);
        }
    }
    process.wait();
    return lines;
}

void CrashRun::lose(const std::string& what) {
    m_losses.push_back(m_work + ", kill " + std::to_string(m_kills) + ": " + what);
}

}  // namespace vlox_test
