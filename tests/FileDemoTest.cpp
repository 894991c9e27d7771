// The example's file module, run as a user would run it.
#include <Poco/Thread.h>
#include <gmock/gmock.h>

#include <fstream>

#include "support/FileDemoFixture.h"

namespace {

using testing::HasSubstr;
using vlox_test::FileDemoTest;

constexpr int kFailed = 1;
constexpr long long kSlices = 46;

TEST_F(FileDemoTest, AFileGoesUpAndComesBack) {
    const std::vector<std::string> rows[] = {{"--crypto", "none"},
                                             {"--crypto", "sm9-sm4"},
                                             {"--https"},
                                             {"--https-mutual"},
                                             {"--crypto", "sm2-aes"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row));
        std::filesystem::remove_all(m_dir.path("data"));
        std::filesystem::remove_all(m_dir.path("store"));
        servePlatform();
        std::vector<std::string> all = options();
        all.insert(all.end(), row.begin(), row.end());
        ASSERT_EQ(0, Run(*this, all).wait()) << output();
        EXPECT_TRUE(copyIsRight());
        EXPECT_EQ(kSlices, asked("file/chunk/upload"));
        EXPECT_EQ(row.back() == "none" ? 0 : 1, server().count("unwrappedKeys"));
        EXPECT_FALSE(std::filesystem::exists(partial()));
    }
    ASSERT_EQ(0, runFile()) << output();
    EXPECT_THAT(output(), HasSubstr("by an earlier run"));
    EXPECT_EQ(kSlices, asked("file/chunk/upload")) << "nothing moves twice";
    EXPECT_EQ(1, asked("file/download"));
}

TEST_F(FileDemoTest, KilledAtRandomMomentsInEachDirectionItGoesOn) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto killSoon = [&](Run& run) {
        Poco::Thread::sleep(std::uniform_int_distribution<long>(0, 300)(random));
        EXPECT_TRUE(run.running());
        run.kill();
        run.wait();
    };
    servePlatform("rate=250000");  // of each slice
    for (int kills = 0; kills < 4 && !std::filesystem::exists(partial()); ++kills) {
        // Of five slices that were begun one has arrived, as four are under way at one time.
        const long long enough = asked("file/chunk/upload") + std::uniform_int_distribution<>(5, 8)(random);
        Run run(*this, options());
        await([&] { return asked("file/chunk/upload") >= enough || std::filesystem::exists(partial()); });
        killSoon(run);
    }
    servePlatform("rate=250000");
    std::uintmax_t there = 0;
    for (int kills = 0; kills < 4; ++kills) {
        Run run(*this, options());
        await([&] {
            return std::filesystem::exists(partial()) && std::filesystem::file_size(partial()) > there;
        });
        killSoon(run);
        EXPECT_GT(std::filesystem::file_size(partial()), there) << "nothing that has come is lost";
        there = std::filesystem::file_size(partial());
    }
    EXPECT_LT(asked("file/chunk/upload"), kSlices) << "some had come before the first kill of a download";
    servePlatform();
    ASSERT_EQ(0, runFile()) << output();
    EXPECT_TRUE(copyIsRight());
    EXPECT_EQ(0, asked("file/chunk/upload"));
    EXPECT_EQ(static_cast<long long>(there), figure("fetchedBefore"));
}

TEST_F(FileDemoTest, BearsAPlatformThatMisbehaves) {
    struct Row {
        const char* why;
        std::string rule;
        std::string every;
        std::string partial;  // what an earlier run has left, as it seems
    };
    const Row rows[] = {
        {"breaks off replies", "cut=20", "3", ""},
        {"is out of order", "status=503", "4", ""},
        {"sends nothing that makes sense", "garbage=1", "5", ""},
        {"hangs up during uploads", "hangup=30000", "5", ""},
        {"passes ranges over", "norange=1", "1", m_content.substr(0, 1'000'000)},
        {"gives back something else once", "flip=100", "50",
         ""},  // addresses, query, slices, merge, download
        {"behaves, but the partial file is of another file", "delay=0", "1", std::string(1000, 'x')},
        {"behaves, but the partial file is too long", "delay=0", "1", std::string(kSize + 1, 'x')},
        {"behaves, and the partial file is whole", "delay=0", "1", m_content},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        std::filesystem::remove_all(m_dir.path("data"));
        std::filesystem::remove_all(m_dir.path("store"));
        servePlatform(row.rule, row.every);
        std::filesystem::create_directories(m_dir.path("data/fetched"));
        if (!row.partial.empty()) {
            m_dir.write("data/fetched/" + kSource + ".part", row.partial);
        }
        EXPECT_EQ(0, runFile()) << output();
        EXPECT_TRUE(copyIsRight());
        EXPECT_TRUE(row.rule == "delay=0" || server().count("misbehaved") > 0);
    }
}

TEST_F(FileDemoTest, SaysWhatIsWrong) {
    m_dir.write("empty", "");
    const std::pair<std::string, const char*> files[] = {
        {"missing", "there is no such file"}, {"keys", "it is no file"}, {"empty", "it is empty"}};
    for (const auto& [file, why] : files) {
        EXPECT_EQ(kFailed, Run(*this, options(file)).wait());
        EXPECT_THAT(output(), HasSubstr(m_dir.path(file) + ": " + why));
    }
    servePlatform("code=15004", "2");  // behind the question for the addresses
    EXPECT_EQ(kFailed, runFile());
    EXPECT_THAT(output(), HasSubstr("the platform refuses, code 15004: as asked for"));
    servePlatform("flip=100");
    EXPECT_EQ(kFailed, runFile());
    EXPECT_THAT(output(), HasSubstr("what arrived is not what was sent"));
    EXPECT_FALSE(std::filesystem::exists(copy()));
    servePlatform();
    EXPECT_EQ(0, runFile()) << output();
    EXPECT_TRUE(copyIsRight());
}

TEST_F(FileDemoTest, APlatformThatGoesIsWaitedForAWhile) {
    servePlatform("rate=80000");
    Run run(*this, options());
    await([&] { return asked("file/chunk/upload") > 8; });
    server().stop();
    EXPECT_EQ(kFailed, run.wait());
    EXPECT_THAT(output(), HasSubstr("the platform doesn't answer"));
    servePlatform();
    EXPECT_EQ(0, runFile()) << output();
    EXPECT_TRUE(copyIsRight());
    EXPECT_LT(asked("file/chunk/upload"), kSlices);
}

TEST_F(FileDemoTest, ASourceThatChangesIsNotSentHalfAndHalf) {
    servePlatform("rate=80000");
    Run run(*this, options());
    await([&] { return asked("file/chunk/upload") > 0; });
    m_content = "changed" + m_content;
    m_dir.write(kSource, m_content);
    server().stop();  // at the latest when it comes back for the rest
    servePlatform();
    EXPECT_EQ(kFailed, run.wait());
    EXPECT_THAT(output(), testing::AnyOf(HasSubstr("was changed"), HasSubstr("doesn't answer")));
    EXPECT_EQ(0, runFile()) << output();
    EXPECT_TRUE(copyIsRight());
}

TEST(FileDemo, WrongOptionsGiveOneLineAndTwo) {
    vlox_test::expectOneLineAndTwo({
        {VLOX_MESSENGER_PATH, "--platform", "x", "--file"},
        {VLOX_MESSENGER_PATH, "--platform", "x", "--file", "a", "b"},
        {VLOX_MESSENGER_PATH, "--platform", "x", "--file", "a", "--chunk", "7"},
    });
}

}  // namespace
