// What takes a terminal's signal or the shell.
#include <gmock/gmock.h>

#include <csignal>

#include "support/DemoFixture.h"
#include "support/FileDemoFixture.h"

using testing::HasSubstr;
using vlox_test::DemoTest;
using vlox_test::FileDemoTest;

namespace {

constexpr int kStoppedEarly = 3;

TEST_F(DemoTest, CtrlCStopsEarlyAndTheNextRunFinishes) {
    serve({"--misbehave", "delay=50"});
    Run first(*this, VLOX_MESSAGES_PATH);
    server().awaitCount("encryptedRequests", 10);
    ::kill(first.pid(), SIGINT);
    EXPECT_EQ(kStoppedEarly, first.wait());
    EXPECT_THAT(output(), HasSubstr("the next run on the same directory finishes the rest"));
    EXPECT_LT(figure("delivered"), static_cast<long long>(sent().size()));
    ASSERT_EQ(0, run(VLOX_MESSAGES_PATH)) << output();
    EXPECT_THAT(output(), HasSubstr("an earlier run left"));
    EXPECT_EQ(sent(), echoed());
}

TEST_F(FileDemoTest, CtrlCStopsAFileInEachDirection) {
    servePlatform("rate=80000");
    Run up(*this, options());
    await([&] { return asked("file/chunk/upload") > 8; });
    ::kill(up.pid(), SIGINT);
    EXPECT_EQ(kStoppedEarly, up.wait()) << output();
    EXPECT_THAT(output(), HasSubstr("the next run on the same directory finishes the rest"));
    servePlatform("rate=200000");
    Run down(*this, options());
    await([&] { return std::filesystem::exists(partial()) && std::filesystem::file_size(partial()) > 0; });
    ::kill(down.pid(), SIGINT);
    EXPECT_EQ(kStoppedEarly, down.wait()) << output();
    servePlatform();
    EXPECT_EQ(0, runFile()) << output();
    EXPECT_TRUE(copyIsRight());
    EXPECT_LT(0, figure("fetchedBefore"));
}

TEST_F(FileDemoTest, ADiskWithoutRoomEndsTheRunAndTheNextOneGoesOn) {
    // No file may grow beyond a mebibyte, which is enough for the store and the log.
    Run run(*this, options(), {"sh", "-c", "trap '' XFSZ; ulimit -f 2048; exec \"$@\"", "sh"});
    EXPECT_EQ(1, run.wait());
    EXPECT_THAT(output(), HasSubstr("the copy doesn't fit"));
    EXPECT_EQ(0, runFile()) << output();
    EXPECT_TRUE(copyIsRight());
    EXPECT_LT(0, figure("fetchedBefore"));
}

TEST(DemoScript, WrongOptionsGiveOneLineAndTwo) {
    vlox_test::expectOneLineAndTwo({
        {VLOX_DEMO_SCRIPT, "--bogus"},
        {VLOX_DEMO_SCRIPT, "--delay", "soon"},
        {VLOX_DEMO_SCRIPT, "--dir"},
        {VLOX_DEMO_SCRIPT, "--crypto", "rot13"},
        {VLOX_DEMO_SCRIPT, "/nonexistent/file"},
        {VLOX_DEMO_SCRIPT, "--file", "/nonexistent/file"},
        {VLOX_DEMO_SCRIPT, "--file", "/dev/null"},
        {VLOX_DEMO_SCRIPT, "--file", VLOX_MESSAGES_PATH, VLOX_MESSAGES_PATH},
    });
}

}  // namespace
