// The log where the system copies processes, lets an open file go, and has files that don't answer.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <memory>

#include "support/LogCapture.h"
#include "support/TempDir.h"
#include "vloxlib/log/FileSink.h"
#include "vloxlib/log/LineFormatter.h"

using namespace std::chrono_literals;
using vlox_test::TempDir;

namespace fs = std::filesystem;

namespace {

std::string fileOfToday(const TempDir& dir) {
    const std::time_t now = std::time(nullptr);
    char name[32];
    std::strftime(name, sizeof name, "sdk_%Y-%m-%d.log", std::localtime(&now));
    return dir.path(name);
}

// The day's file is a pipe that takes some lines and then no more, and nobody reads it. A collection that
// waits in vain tells when the worker is held up.
void logToADiskThatDoesNotAnswer(const TempDir& dir) {
    alarm(60);
    const std::string file = fileOfToday(dir);
    mkfifo(file.c_str(), 0600);
    open(file.c_str(), O_RDONLY | O_NONBLOCK);
    create_logger("sdk", dir.path("sdk.log").c_str(), false);
    for (int line = 0; line < 1500; ++line) {
        VLOX_LOG(2, "%s", std::string(200, 'x').c_str());
    }
    EXPECT_EQ(0, collect_sdk_log(dir.path("none").c_str(), 0, 1));
}

}  // namespace

// The child has the memory, but not the thread that would write its lines.
TEST(LogForkDeathTest, AForkedChildWritesItsOwnLines) {
    testing::FLAGS_gtest_death_test_style = "fast";
    const vlox_test::LogCapture log;
    VLOX_LOG(2, "the parent's");
    EXPECT_EXIT(
        {
            for (int i = 0; i < 3000; ++i) {
                VLOX_LOG(2, "the child's");
            }
            close_logger();
            close_logger();
            std::exit(0);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_EQ(3000, log.count("the child's"));
    EXPECT_EQ(1, log.count("the parent's"));
}

TEST(LogForkDeathTest, ADiskThatDoesNotAnswerHoldsNothingUpForLong) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const TempDir dir;
    struct Row {
        const char* what;
        void (*act)(const TempDir&);
        const char* told;
    };
    const Row rows[] = {{"close",
                         [](const TempDir&) {
                             close_logger();
                             close_logger();
                         },
                         " [1-9][0-9]* lines were left"},
                        {"fork, and return from main",
                         [](const TempDir&) {
                             const pid_t child = fork();
                             if (child == 0) {
                                 alarm(60);
                                 VLOX_LOG(4, "has nowhere to go");
                                 std::exit(0);
                             }
                             waitpid(child, nullptr, 0);
                         },
                         " [1-9][0-9]* lines wait.* lines were left"}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EXIT(
            {
                logToADiskThatDoesNotAnswer(dir);
                row.act(dir);
                std::exit(0);
            },
            testing::ExitedWithCode(0), row.told);
    }
}

TEST(LogFileTest, IsItsUsersAloneStaysHereAndComesBackWhenItIsRemoved) {
    const TempDir dir;
    umask(0);
    vloxlib::DailySink sink(dir.path("new/folder/sdk.log"));
    sink.set_formatter(std::make_unique<vloxlib::LineFormatter>());
    const std::string file = fs::directory_iterator(dir.path("new/folder"))->path().string();
    const auto rights = [](const std::string& path) {
        struct stat status = {};
        return stat(path.c_str(), &status) == 0 ? status.st_mode & 0777U : 0U;
    };
    EXPECT_EQ(0700U, rights(dir.path("new/folder")));
    EXPECT_EQ(0600U, rights(file));
    for (const auto& link : fs::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        if (fs::read_symlink(link.path(), gone) == file) {
            EXPECT_NE(0, fcntl(std::stoi(link.path().filename()), F_GETFD) & FD_CLOEXEC);
        }
    }
    const auto texts = [&] {
        std::string all;
        std::ifstream stream(file);
        for (std::string line; std::getline(stream, line);) {
            all += line.substr(line.rfind("] ") + 2) + ";";
        }
        return all;
    };
    const auto log = [&](std::chrono::seconds after, const char* text) {
        sink.log({spdlog::log_clock::now() + after, {}, "logger", spdlog::level::info, text});
        sink.flush();
    };
    log(0s, "first");
    fs::remove(file);
    log(0s, "second");
    EXPECT_EQ("second;", texts());
    fs::remove(file);
    fs::create_directory(file);
    log(0s, "lost");
    fs::remove(file);
    log(1s, "lost too");
    log(9s, "third");
    EXPECT_EQ("2 log lines were lost: Is a directory;third;", texts());
    fs::remove(file);
    fs::create_symlink("/dev/full", file);
    log(20s, "lost on a full disk");
    fs::remove(file);
    log(21s, "fourth");
    EXPECT_EQ("1 log lines were lost: No space left on device;fourth;", texts());
}

TEST(LogFileTest, IsFoundFromAFolderThatIsGoneAndBesideADanglingLink) {
    const TempDir dir;
    fs::create_directory(dir.path("gone"));
    fs::current_path(dir.path("gone"));
    dir.write("sdk_old.log", "old");
    fs::last_write_time(dir.path("sdk_old.log"), fs::file_time_type::clock::now() - 10 * 24h);
    fs::create_symlink(dir.path("nothing"), dir.path("sdk_link.log"));
    fs::remove(dir.path("gone"));
    create_logger("sdk", dir.path("sdk.log").c_str(), false);
    EXPECT_FALSE(fs::exists(dir.path("sdk_old.log")));
    fs::current_path("/");
}
