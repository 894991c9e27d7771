// What a program sees of the library in its process: signals, copies of the process, memory.
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "support/DataDir.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"
#include "support/UserSettings.h"
#include "vloxlib/encrypt/EncryptBridge.h"
#include "vloxlib/http/HttpHelper.h"
#include "vloxlib/network/NetworkMonitor.h"
#include "vloxlib/task/BackOffMode.h"
#include "vloxlib/task/TaskSweeper.h"
#include "vloxlib/thread/Timer.h"
#include "win32/VLOXBase.h"
#include "win32/vloxCommonlib.h"

using namespace vloxlib;

#ifdef __SANITIZE_THREAD__
// The child of a fork starts threads again.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_options() {
    return "die_after_fork=0";
}
#endif

namespace {

// A line of /proc/self/task/<thread>/status for each thread but the calling one.
std::vector<std::string> ofOtherThreads(const std::string& field) {
    std::vector<std::string> values;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream status(thread.path() / "status");
        for (std::string line; std::getline(status, line);) {
            if (line.find(field) == 0 && thread.path().filename() != std::to_string(gettid())) {
                values.push_back(line.substr(field.size() + 1));
            }
        }
    }
    return values;
}

}  // namespace

TEST(Process, ThreadsOfTheLibraryTakeNoSignals) {
    const std::size_t before = ofOtherThreads("SigBlk").size();
    const vlox_test::UserSettings settings;
    const vlox_test::TempDir home;
    const vlox_test::LogCapture log;
    ASSERT_EQ(0, initialize({0, 0, nullptr}, home.path().c_str(), 0));
    TimeoutTaskSweeper sweeper;
    sweeper.start();
    Timer timer(nullptr, std::make_shared<FixedIntervalBackOffMode>(5), 3600, false);
    timer.start();
    int free = 0;
    for (const std::string& mask : ofOtherThreads("SigBlk")) {
        const auto blocked = std::stoull(mask, nullptr, 16);
        bool all = true;
        for (const int signal : {SIGHUP, SIGINT, SIGTERM, SIGUSR1, SIGCHLD, SIGALRM, SIGPIPE, SIGRTMIN}) {
            all = all && (blocked >> (signal - 1) & 1) != 0;
        }
        free += all ? 0 : 1;
    }
    EXPECT_GE(before, static_cast<std::size_t>(free)) << "none of ours, the sanitizer's may";
    EXPECT_LE(before + 2, ofOtherThreads("SigBlk").size());
    sweeper.stop();
    sweeper.join();
}

// The fork comes while other threads hold what locks there are.
TEST(Process, AForkedChildStartsTheLibraryAgain) {
    const vlox_test::UserSettings settings;
    const vlox_test::TempDir home;
    ASSERT_EQ(0, initialize({0, 0, nullptr}, home.path().c_str(), 0));
    const __int64 client = createVloxClient("app", "forked");
    std::atomic<bool> goOn{true};
    std::vector<std::thread> threads;
    for (int number = 0; number < 2; ++number) {
        threads.emplace_back([&] {
            while (goOn) {
                VLOXBase::onSdkEvent(client, 0, "", 0, "");
                setConfigInt(client, CONFIG_AS_HOST, getConfigInt(client, CONFIG_AS_HOST) + 1);
                NetworkMonitor::getInstance()->notifyNetworkStatusChanged("{}");
            }
        });
    }
    for (int round = 0; round < 20; ++round) {
        const pid_t child = fork();
        if (child == 0) {
            alarm(60);  // ends it when it hangs
            const bool works = ofOtherThreads("SigBlk").empty() &&
                               initialize({0, 0, nullptr}, home.path().c_str(), 0) == 0 &&
                               ofOtherThreads("SigBlk").size() == 1 &&
                               createVloxClient("app", "forked") == client &&
                               setConfigInt(client, CONFIG_FS_HOST, 7) == 0;
            NetworkMonitor::getInstance()->notifyNetworkStatusChanged("{}");
            VLOXBase::onSdkEvent(client, 0, "", 0, "");
            _exit(works ? 3 : 4);
        }
        int status = 0;
        ASSERT_EQ(child, waitpid(child, &status, 0));
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 3) << status;
    }
    goOn = false;
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(Process, AccountsThatComeAndGoLeaveNothing) {
    const vlox_test::DataDir dataDir;
    const auto comeAndGo = [](int from) {
        for (int number = from; number < from + 10000; ++number) {
            const std::string account = "account " + std::to_string(number);
            const __int64 client = createVloxClient("app", account.c_str());
            EncryptBridge::getInstance(account);
            HttpHelper::getInstance(UserInfo("app", account));
            VLOXBase::releaseClient(client);
        }
        return mallinfo2().uordblks;
    };
    const std::size_t before = comeAndGo(10000);
    EXPECT_GT(before + 1000000, comeAndGo(20000));
}
