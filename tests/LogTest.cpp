#include "vloxlib/log/vloxLog.h"

#include <Poco/Environment.h>
#include <Poco/File.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/LogCapture.h"
#include "support/Patterns.h"
#include "support/TempDir.h"
#include "vloxlib/log/FileSink.h"
#include "vloxlib/log/FlushRule.h"
#include "vloxlib/log/GenericLogger.h"
#include "vloxlib/log/LineFormatter.h"
#include "vloxlib/log/LogQueue.h"
#include "vloxlib/log/LogWorker.h"

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using vlox_test::IsOfPattern;
using vlox_test::LogCapture;
using vlox_test::TempDir;

namespace fs = std::filesystem;

namespace {

constexpr char kSharedDirectory[] = "VLOX_LOG_TEST_DIRECTORY";

std::string dated(const std::string& baseName, const std::string& extension,
                  std::time_t time = std::time(nullptr)) {
    char date[16];
    std::strftime(date, sizeof date, "_%Y-%m-%d", std::localtime(&time));
    return baseName + date + extension;
}

class LogTest : public testing::Test {
protected:
    // A death test runs this once more in a process of its own, which has to find the same directory.
    LogTest() {
        testing::FLAGS_gtest_death_test_style = "threadsafe";
        m_path = Poco::Environment::get(kSharedDirectory, "");
        if (m_path.empty()) {
            m_own = std::make_unique<TempDir>();
            m_path = m_own->path();
            Poco::Environment::set(kSharedDirectory, m_path);
        }
    }
    ~LogTest() override {
        if (m_own) {
            Poco::Environment::set(kSharedDirectory, "");
        }
    }

    std::string path(const std::string& name) const { return (fs::path(m_path) / name).string(); }
    void start() const { create_logger("windows_sdk", path("windows_sdk.log").c_str(), false); }
    std::string logFile() const { return path(dated("windows_sdk", ".log")); }

    std::vector<std::string> lines() const { return linesOf(logFile()); }
    static std::vector<std::string> linesOf(const std::string& file) {
        std::vector<std::string> found;
        std::ifstream stream(file);
        for (std::string line; std::getline(stream, line);) {
            found.push_back(line);
        }
        return found;
    }
    std::ptrdiff_t count(const std::string& text) const { return countIn(logFile(), text); }
    static std::ptrdiff_t countIn(const std::string& file, const std::string& text) {
        const std::vector<std::string> all = linesOf(file);
        return std::count_if(all.begin(), all.end(),
                             [&](const std::string& line) { return line.find(text) != std::string::npos; });
    }
    // Whether the file holds so many lines with the text before the time is over.
    bool holdsWithin(std::chrono::milliseconds limit, const std::string& text, long expected) const {
        return fileHoldsWithin(logFile(), limit, text, expected);
    }
    /// An error line is written at once, but the call doesn't wait for the worker that writes it.
    static bool fileHoldsWithin(const std::string& file, std::chrono::milliseconds limit,
                                const std::string& text, long expected) {
        const auto giveUp = std::chrono::steady_clock::now() + limit;
        while (countIn(file, text) < expected) {
            if (std::chrono::steady_clock::now() > giveUp) {
                return false;
            }
            std::this_thread::sleep_for(1ms);
        }
        return countIn(file, text) == expected;
    }
    // Two seconds after the last line all is flushed, whatever it is: an attempt that took as long, on a busy
    // machine, says nothing and is made again under another name.
    template <typename Attempt>
    static bool beforeTheIdleFlush(Attempt attempt) {
        for (char name[] = "attempt a"; name[8] <= 'z'; ++name[8]) {
            const auto begin = std::chrono::steady_clock::now();
            const bool held = attempt(name);
            if (std::chrono::steady_clock::now() - begin < 1900ms) {
                return held;
            }
        }
        return false;
    }
    void addFile(const std::string& name, int ageInDays) const {
        std::ofstream(path(name)) << name;
        fs::last_write_time(path(name), fs::file_time_type::clock::now() - ageInDays * 24h);
    }
    bool exists(const std::string& name) const { return fs::exists(path(name)); }

private:
    std::unique_ptr<TempDir> m_own;
    std::string m_path;
};

using LogDeathTest = LogTest;

struct Named {
    Named() { VLOX_LOG(2, "constructor"); }
    ~Named() { VLOX_LOG(2, "destructor"); }
    bool operator<(const Named&) const {
        VLOX_LOG(2, "less");
        return false;
    }
    explicit operator std::string() const {
        VLOX_LOG(2, "conversion");
        return {};
    }
    template <class T>
    static std::vector<std::pair<T, int>> make(void (*)(T)) {
        VLOX_LOG(2, "template");
        [](int) { VLOX_LOG(2, "lambda"); }(1);
        return {};
    }
};

}  // namespace

TEST_F(LogTest, ALineHasItsPartsInTheFileOfTheDay) {
    start();
    vloxprint_v2(4, "C:\\sdk\\src/Unit.cpp", "vloxlib::Unit::run", 17, "100%% of {} and {0}: %s", "%d {}");
    ASSERT_TRUE(holdsWithin(30s, "100%", 1));
    EXPECT_THAT(
        lines().back(),
        IsOfPattern("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} \\[E\\] "
                    "\\[[0-9]+\\] \\[vloxlib::Unit::run 17\\] 100% of \\{\\} and \\{0\\}: %d \\{\\}"));
}

TEST_F(LogTest, EitherSeparatorAndNamesBeyondAsciiWork) {
    create_logger("windows_sdk", (path("täglich") + "\\windows_sdk.log").c_str(), true);
    EXPECT_TRUE(fs::exists(fs::u8path(path("täglich")) / dated("windows_sdk", ".log")));
    create_logger("windows_sdk", path("plain").c_str(), false);
    EXPECT_TRUE(exists(dated("plain", "")));
}

TEST_F(LogTest, OddArgumentsNeitherCrashNorLoseTheLine) {
    start();
    const std::string wide(3000, 'w');
    vloxprint_v2(4, nullptr, nullptr, 3, "no %s", "names");
    vloxprint_v2(4, "u.cpp", "f", 0, "no line number");
    vloxprint_v2(4, "u.cpp", wide.c_str(), 1, "long name");
    vloxprint_v2(99, "u.cpp", "f", 1, "no such level");
    vloxprint_v2(4, "u.cpp", "f", 1, "%s", (wide.substr(0, 2046) + "\xe2\x82\xac").c_str());
    vloxprint_v2(4, "u.cpp", "f", 1, "%s", wide.c_str());
    ASSERT_TRUE(holdsWithin(30s, "www", 3));
    EXPECT_EQ(0, count("\xe2")) << "a character cut in two";
    EXPECT_EQ(1, count("] [ 3] no names"));
    EXPECT_EQ(1, count("] [ ] no line number"));
    EXPECT_EQ(1, count(wide + " 1] long name"));
    EXPECT_EQ(1, count("[O] "));
    EXPECT_THAT(lines().back(), EndsWith("[f 1] " + std::string(2048, 'w')));
}

TEST_F(LogTest, LevelsBelowTheSetOneAreDropped) {
    start();
    const auto logAll = [](const char* round) {
        for (int level = -1; level <= 5; ++level) {
            VLOX_LOG(level, "%s level %d", round, level);
        }
    };
    logAll("default");
    struct Row {
        const char* why;
        int level;
        int lines;
    };
    const Row rows[] = {{"everything", 0, 6},
                        {"above the last is ignored", 6, 6},
                        {"critical only", 5, 1},
                        {"below the first is ignored", -1, 1},
                        {"error", 4, 2}};
    for (const Row& row : rows) {
        set_logger_level(row.level);
        logAll(row.why);
    }
    ASSERT_TRUE(holdsWithin(30s, "default level", 4));
    for (const Row& row : rows) {
        EXPECT_TRUE(holdsWithin(30s, row.why, row.lines)) << row.why;
    }
}

TEST_F(LogTest, TheFunctionNameIsQualifiedAndBare) {
    const LogCapture log;
    (void)(Named() < Named());
    (void)std::string(Named());
    Named::make<int>(nullptr);
    struct Row {
        const char* text;
        const char* name;
    };
    const Row rows[] = {{"constructor", "::Named::Named"}, {"destructor", "::Named::~Named"},
                        {"less", "::Named::operator<"},    {"conversion", "::Named::operator "},
                        {"template", "::Named::make"},     {"lambda", "::Named::make"}};
    const std::vector<std::string> all = log.lines();
    for (const Row& row : rows) {
        const auto line = std::find_if(all.begin(), all.end(), [&](const std::string& each) {
            return each.size() > 2 && each.find(std::string("] ") + row.text) != std::string::npos;
        });
        ASSERT_NE(all.end(), line) << row.text;
        const std::string name = line->substr(line->rfind(" [") + 2);
        EXPECT_THAT(name, HasSubstr(row.name));
        EXPECT_THAT(name, testing::Not(HasSubstr("std::vector"))) << "the result's type";
    }
}

TEST_F(LogTest, TenLinesAreFlushedAndFewerWaitTwoSeconds) {
    start();
    ASSERT_TRUE(holdsWithin(30s, "logPath: ", 1))
        << "the line of the start, and with it the count begins anew";
    EXPECT_TRUE(beforeTheIdleFlush([this](const char* burst) {
        for (int line = 0; line < 10; ++line) {
            VLOX_LOG(2, "%s", burst);
        }
        return holdsWithin(30s, burst, 10);
    }));
    const auto begin = std::chrono::steady_clock::now();
    for (int line = 0; line < 9; ++line) {
        VLOX_LOG(2, "nine");
    }
    EXPECT_TRUE(holdsWithin(30s, "nine", 9));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 1900ms);
}

TEST_F(LogTest, AnErrorIsOnDiskAtOnceWithAllThatWasBefore) {
    start();
    EXPECT_TRUE(beforeTheIdleFlush([this](const char* name) {
        VLOX_LOG(2, "%s before", name);
        VLOX_LOG(4, "%s error", name);
        VLOX_LOG(2, "%s after", name);
        return holdsWithin(30s, std::string(name) + " error", 1) &&
               count(std::string(name) + " before") == 1 && count(std::string(name) + " after") == 0;
    }));
}

TEST_F(LogTest, ThreadsLoseNoLineAndKeepTheirOrder) {
    constexpr int kThreads = 4;
    constexpr int kLines = 5000;
    start();
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([thread] {
            for (int line = 0; line < kLines; ++line) {
                VLOX_LOG(line % 1000 == 0 ? 4 : 2, "t%d n%d %s", thread, line,
                         std::string(static_cast<std::size_t>(line % 300), 'x').c_str());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    VLOX_LOG(4, "end");
    ASSERT_TRUE(holdsWithin(20s, "] end", 1));
    std::vector<int> next(kThreads, 0);
    for (const std::string& line : lines()) {
        int thread = 0;
        int number = 0;
        if (std::sscanf(line.c_str() + line.rfind("] ") + 2, "t%d n%d", &thread, &number) == 2) {
            ASSERT_EQ(next[static_cast<std::size_t>(thread)]++, number) << line;
        }
    }
    EXPECT_EQ(std::vector<int>(kThreads, kLines), next);
}

TEST_F(LogTest, AReplacedLoggerWritesWhatItHasAndClosesItsFile) {
    start();
    VLOX_LOG(2, "to the first");
    create_logger("windows_sdk", path("second.log").c_str(), false);
    VLOX_LOG(4, "to the second");
    EXPECT_TRUE(holdsWithin(30s, "to the first", 1));
    EXPECT_TRUE(fileHoldsWithin(path(dated("second", ".log")), 30s, "to the second", 1));
    EXPECT_EQ(0, count("to the second"));
}

TEST_F(LogTest, RotatingFilesAreThereForWhoAsksForThem) {
    vloxlib::setProcessLogger(std::make_unique<vloxlib::GenericLogger>(
        "rotating", path("rotating.log").c_str(), false, 1, 2, 1000));
    for (int line = 0; line < 20; ++line) {
        VLOX_LOG(4, "%s", std::string(200, 'r').c_str());
    }
    // Its files aren't looked into before it is closed: a file that somebody reads can't be renamed
    // everywhere.
    start();
    VLOX_LOG(4, "end");
    EXPECT_TRUE(holdsWithin(30s, "] end", 1));
    EXPECT_EQ(2, countIn(path("rotating.log"), "rrr")) << "the last two of twenty";
    EXPECT_EQ(3, countIn(path("rotating.1.log"), "rrr"));
    EXPECT_EQ(3, countIn(path("rotating.2.log"), "rrr"));
    EXPECT_FALSE(exists("rotating.3.log"));
}

TEST_F(LogTest, AFileThatCannotBeOpenedThrowsAndLeavesTheEarlierLogger) {
    start();
    std::ofstream(path("file")) << "in the way";
    EXPECT_THROW(create_logger("windows_sdk", path("file/windows_sdk.log").c_str(), false), std::exception);
    VLOX_LOG(4, "still here");
    EXPECT_TRUE(holdsWithin(30s, "still here", 1));
}

TEST_F(LogTest, ARefusedLoggerTouchesNothing) {
    addFile("windows_sdk_2019-01-01.log", 400);
    struct Row {
        const char* name;
        const char* path;
    };
    const std::string file = path("windows_sdk.log");
    for (const Row& row :
         {Row{"", file.c_str()}, Row{nullptr, file.c_str()}, Row{"n", ""}, Row{"n", nullptr}}) {
        create_logger(row.name, row.path, false);
        VLOX_LOG(5, "dropped");
        set_logger_level(0);
        remove_histroy_log_files(std::time(nullptr));
        EXPECT_EQ(0, collect_sdk_log(path("").c_str(), 0, std::time(nullptr)));
    }
    EXPECT_TRUE(exists("windows_sdk_2019-01-01.log"));
    EXPECT_FALSE(fs::exists(logFile()));
}

TEST_F(LogTest, StartRemovesFilesByAgeNameAndExtension) {
    addFile("windows_sdk_2019-01-01.log", 8);
    addFile("my_windows_sdk.log", 8);
    addFile("windows_sdk_2018-01-01.log", 6);  // it is the time of writing that counts, not the name's date
    addFile("other.log", 8);
    addFile("old_windows_sdk.txt", 8);
    fs::create_directory(path("windows_sdk_dir.log"));
    std::error_code refused;  // not every system lets a folder's time be set
    fs::last_write_time(path("windows_sdk_dir.log"), fs::file_time_type::clock::now() - 8 * 24h, refused);
    start();
    EXPECT_FALSE(exists("windows_sdk_2019-01-01.log"));
    EXPECT_FALSE(exists("my_windows_sdk.log"));
    EXPECT_TRUE(exists("windows_sdk_2018-01-01.log"));
    EXPECT_TRUE(exists("other.log"));
    EXPECT_TRUE(exists("old_windows_sdk.txt"));
    EXPECT_TRUE(exists("windows_sdk_dir.log"));
    VLOX_LOG(4, "end");
    ASSERT_TRUE(holdsWithin(30s, "] end", 1));
    EXPECT_EQ(2, count("remove_histroy_log_files: "));
}

TEST_F(LogTest, AChangeOfDayRemovesOldFilesToo) {
    start();
    addFile("windows_sdk_2019-01-01.log", 8);
    const auto tomorrow = spdlog::log_clock::now() + 24h;
    vloxlib::processLogger()->logger()->log(tomorrow, {}, spdlog::level::err, "tomorrow");
    EXPECT_TRUE(holdsWithin(30s, "remove_histroy_log_files: ", 1));
    VLOX_LOG(4, "end");
    EXPECT_TRUE(holdsWithin(30s, "] end", 1));
    EXPECT_FALSE(exists("windows_sdk_2019-01-01.log"));
}

TEST_F(LogTest, CollectsTheFilesWrittenWithinTheTimes) {
    addFile("windows_sdk_a.log", 5);
    addFile("windows_sdk_b.log", 3);
    addFile("windows_sdk_c.log", 1);
    start();
    const auto daysAgo = [](int days) { return static_cast<__int64>(std::time(nullptr)) - days * 86400; };
    fs::create_directory(path("out"));
    EXPECT_EQ(0, collect_sdk_log(path("out").c_str(), daysAgo(4), daysAgo(2)));
    EXPECT_TRUE(exists("out/windows_sdk_b.log"));
    EXPECT_FALSE(exists("out/windows_sdk_a.log"));
    EXPECT_FALSE(exists("out/windows_sdk_c.log"));
    EXPECT_EQ(0, collect_sdk_log((path("out") + "\\").c_str(), daysAgo(6), daysAgo(4)));
    EXPECT_TRUE(exists("out/windows_sdk_a.log")) << "a separator at the end changes nothing";
    VLOX_LOG(2, "logged just before");
    EXPECT_EQ(0, collect_sdk_log(path("out").c_str(), daysAgo(1) + 3600, daysAgo(-1)));
    EXPECT_EQ(1, countIn(path("out/" + dated("windows_sdk", ".log")), "logged just before"));
    EXPECT_EQ(0, collect_sdk_log(path("").c_str(), daysAgo(6), daysAgo(-1)));
    EXPECT_THAT(linesOf(path("windows_sdk_a.log")), ElementsAre("windows_sdk_a.log")) << "copied onto itself";
    EXPECT_EQ(1, count("logged just before"));
    const __int64 written = Poco::File(path("windows_sdk_c.log")).getLastModified().epochTime();
    EXPECT_EQ(0, collect_sdk_log(path("single").c_str(), daysAgo(2), written)) << "the end belongs to it";
    EXPECT_THAT(linesOf(path("single")), ElementsAre("windows_sdk_c.log"));

    EXPECT_EQ(0, collect_sdk_log(path("none").c_str(), 1000, 1000));
    EXPECT_FALSE(exists("none"));
    EXPECT_TRUE(holdsWithin(30s, "time begin: 1000. time end :1000", 1));
    EXPECT_EQ(0, collect_sdk_log(nullptr, 0, daysAgo(0)));
}

TEST_F(LogDeathTest, CloseWritesOutWhatIsQueuedAndEndsLogging) {
    EXPECT_EXIT(
        {
            start();
            for (int i = 0; i < 2005; ++i) {
                VLOX_LOG(2, "queued %d", i);
            }
            close_logger();
            const bool complete = count("queued") == 2005;
            VLOX_LOG(5, "vanishes");
            close_logger();
            const bool without = collect_sdk_log(path("out").c_str(), 0, 1) == -1;
            create_logger("windows_sdk", path("again.log").c_str(), false);
            VLOX_LOG(5, "lost");
            std::_Exit(complete && without ? 0 : 1);
        },
        testing::ExitedWithCode(0), "async log: thread pool doesn't exist anymore");
    EXPECT_EQ(0, count("vanishes"));
    EXPECT_TRUE(linesOf(path(dated("again", ".log"))).empty());
}

TEST_F(LogDeathTest, ExitFromALoggingFunctionWhileAnotherThreadLogsOnEndsCleanly) {
    struct LogsAtTheVeryEnd {
        ~LogsAtTheVeryEnd() {
            VLOX_LOG(2, "last words");
            std::thread(close_logger).join();
            close_logger();
            VLOX_LOG(2, "last words after the end");
        }
    };
    EXPECT_EXIT(
        {
            static const LogsAtTheVeryEnd early;
            start();
            std::atomic<int> written{0};
            std::thread([&written] {
                for (;;) {
                    VLOX_LOG(2, "endless %d", ++written);
                }
            }).detach();
            while (written < 5000) {
                std::this_thread::yield();
            }
            VLOX_LOG(2, "ordinary");
            VLOX_LOG(4, "fatal");
            std::exit(1);
        },
        testing::ExitedWithCode(1), "");
    EXPECT_EQ(1, count("ordinary"));
    EXPECT_EQ(1, count("fatal"));
    EXPECT_EQ(1, count("last words"));
}

TEST(LogQueue, HoldsWritersUpWhileItIsFullAndTellsThemTheEnd) {
    vloxlib::LogQueue queue;
    const auto write = [&queue] {
        return queue.write([](vloxlib::LogRecord& record) {
            record.set(vloxlib::LogRecord::Kind::Flush, nullptr);
        }) > 0;
    };
    for (std::size_t i = 0; i < 2048; ++i) {
        ASSERT_TRUE(write());
    }
    EXPECT_EQ(2048U, queue.waitForRecords(0s));
    std::future<bool> writer = std::async(std::launch::async, write);
    EXPECT_EQ(std::future_status::timeout, writer.wait_for(50ms));
    queue.release(1);
    EXPECT_TRUE(writer.get());
    queue.release(2048);
    queue.beginClose();
    std::future<bool> late = std::async(std::launch::async, write);
    EXPECT_EQ(std::future_status::timeout, late.wait_for(50ms));
    queue.close();
    EXPECT_FALSE(late.get());
}

TEST(FlushRule, FlushesEachTenthLineAndOnceTwoSecondsAfterTheLast) {
    vloxlib::FlushRule rule;
    const auto lines = [&rule](std::size_t count) {
        const std::size_t behind = rule.flushBehind(count);
        for (std::size_t line = 1; line <= count; ++line) {
            rule.line();
            if (line == behind && rule.isDue()) {
                rule.flushed();
            }
        }
        return behind;
    };
    EXPECT_EQ(0U, lines(9));
    EXPECT_EQ(1U, lines(4));
    EXPECT_EQ(17U, lines(19));
    EXPECT_EQ(2s, rule.wait());
    EXPECT_TRUE(rule.nothingCame());
    EXPECT_EQ(600s, rule.wait());
    EXPECT_FALSE(rule.nothingCame());
    rule.somethingCame();
    EXPECT_EQ(2s, rule.wait());
}

class DailySinkTest : public LogTest {
protected:
    DailySinkTest() { m_sink.set_formatter(std::make_unique<vloxlib::LineFormatter>()); }
    void log(spdlog::log_clock::duration after, const std::string& text) {
        m_sink.log({m_now + after, {}, "logger", spdlog::level::info, text});
    }
    std::string fileOf(spdlog::log_clock::duration after) const {
        return path(dated("daily", ".log", spdlog::log_clock::to_time_t(m_now + after)));
    }
    // The texts in a file, one behind the other.
    std::string textsOf(spdlog::log_clock::duration after) {
        m_sink.flush();
        std::string texts;
        for (const std::string& line : linesOf(fileOf(after))) {
            texts += line.substr(line.rfind("] ") + 2) + ";";
        }
        return texts;
    }

    vloxlib::DailySink m_sink{path("daily.log")};
    const spdlog::log_clock::time_point m_now = spdlog::log_clock::now();
};

TEST_F(DailySinkTest, WritesIntoTheFileOfTheLinesDayWhereverTheClockGoes) {
    const auto years = 3660 * 24h;
    log(0s, "today");
    log(24h, "tomorrow");
    EXPECT_TRUE(m_sink.takeEndOfDay());
    log(0s, "stamped before midnight");
    log(years, "ahead");
    log(0s, "put right");
    EXPECT_FALSE(m_sink.takeEndOfDay()) << "a clock that was set ends no day";
    EXPECT_EQ("today;stamped before midnight;put right;", textsOf(0s));
    EXPECT_EQ("tomorrow;", textsOf(24h));
    EXPECT_EQ("ahead;", textsOf(years));
}

TEST_F(DailySinkTest, KeepsItsFileWhileTheNextDaysCannotBeOpened) {
    fs::create_directory(fileOf(24h));
    log(0s, "before");
    log(24h, "refused");
    log(0s, "of the old day");
    log(24h, "refused again");
    EXPECT_EQ("before;refused;of the old day;refused again;", textsOf(0s));
    fs::remove(fileOf(24h));
    log(24h + 1s, "too early");
    EXPECT_THAT(textsOf(0s), EndsWith("too early;"));
    log(24h + 9s, "there now");
    EXPECT_EQ("there now;", textsOf(24h));
}

TEST_F(DailySinkTest, TwoProcessesWithOneFileDoNotTearEachOthersLines) {
    vloxlib::DailySink other(path("daily.log"));
    other.set_formatter(std::make_unique<vloxlib::LineFormatter>());
    const std::string text(1000, 'x');
    const auto write = [&](vloxlib::DailySink& sink) {
        for (int line = 0; line < 1000; ++line) {
            sink.log({m_now, {}, "logger", spdlog::level::info, text});
        }
        sink.flush();
    };
    std::thread thread([&] { write(other); });
    write(m_sink);
    thread.join();
    const std::vector<std::string> lines = linesOf(fileOf(0s));
    EXPECT_EQ(2000, std::count_if(lines.begin(), lines.end(), [&](const std::string& line) {
                  return line.find("20") == 0 && line.find("] " + text) == line.size() - text.size() - 2;
              }));
}

TEST(LineFormatter, LetsNoTextPassForALineOfItsOwn) {
    struct Row {
        const char* text;
        const char* written;
    };
    const Row rows[] = {
        {"no control\tcharacter \xc3\xa9 \xc2\xa0", "no control\tcharacter \xc3\xa9 \xc2\xa0"},
        {"a\n2019-09-26 forged", "a\n\t2019-09-26 forged"},
        {"a specified end \n", "a specified end \n"},
        {"two\r\n\nbreaks", "two\\x0d\n\t\n\tbreaks"},
        {"\x1b[2J\x7f", "\\x1b[2J\\x7f"},
        {"12345678\x1f", "12345678\\x1f"},
        {"next line \xc2\x85.", "next line \\x85."},
        {"ends within \xc2", "ends within \xc2"}};
    for (const Row& row : rows) {
        vloxlib::LineFormatter formatter;
        spdlog::memory_buf_t line;
        formatter.format({spdlog::log_clock::now(), {}, "logger", spdlog::level::info, row.text}, line);
        EXPECT_THAT(fmt::to_string(line),
                    EndsWith(std::string("] ") + row.written + spdlog::details::os::default_eol));
    }
}

TEST(LineFormatter, FormatsAsThePatternDoes) {
    spdlog::pattern_formatter pattern("%Y-%m-%d %H:%M:%S.%e [%^%L%$] [%t] [%! %#] %v");
    vloxlib::LineFormatter ours;
    const auto base = spdlog::log_clock::from_time_t(1569456000);
    struct Row {
        const char* why;
        std::chrono::milliseconds after;
        spdlog::source_loc source;
        spdlog::level::level_enum level;
    };
    const Row rows[] = {{"first", 7ms, {"a.cpp", 1, "f"}, spdlog::level::trace},
                        {"same second", 999ms, {"a.cpp", 2147483647, "f"}, spdlog::level::critical},
                        {"next second", 1000ms, {"a.cpp", -1, ""}, spdlog::level::warn},
                        {"back in time", 10ms, {"a.cpp", 0, "f"}, spdlog::level::err},
                        {"another day", 86400000ms, {}, spdlog::level::off}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        const spdlog::details::log_msg line(base + row.after, row.source, "logger", row.level, "{} text");
        spdlog::memory_buf_t expected;
        spdlog::memory_buf_t actual;
        pattern.format(line, expected);
        ours.format(line, actual);
        EXPECT_EQ(fmt::to_string(expected), fmt::to_string(actual));
    }
}
