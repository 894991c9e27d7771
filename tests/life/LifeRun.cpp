#include "life/LifeRun.h"

#include <Poco/Process.h>
#include <sys/wait.h>

#include <filesystem>
#include <thread>

namespace vlox_test {

std::string liveOnce(const std::string& directory, unsigned seed, std::chrono::seconds limit) {
    std::filesystem::create_directories(directory + "/log");
    std::filesystem::create_directories(directory + "/collected");
    const Poco::Process::Env environment{{"XDG_CONFIG_HOME", directory + "/config"}};
    const Poco::ProcessHandle process =
        Poco::Process::launch(VLOX_LIFE_WORKER_PATH, {directory, std::to_string(seed)}, ".", nullptr, nullptr,
                              nullptr, environment);
    const auto end = std::chrono::steady_clock::now() + limit;
    int status = 0;
    while (waitpid(process.id(), &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > end) {
            Poco::Process::kill(process.id());
            waitpid(process.id(), &status, 0);
            return "seed " + std::to_string(seed) + ": it hangs";
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return status == 0 ? "" : "seed " + std::to_string(seed) + ": it ended with " + std::to_string(status);
}

}  // namespace vlox_test
