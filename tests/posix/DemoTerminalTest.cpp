// What takes a terminal's signal or the shell.
#include <gmock/gmock.h>

#include <csignal>

#include "support/DemoFixture.h"

using testing::HasSubstr;
using vlox_test::DemoTest;

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

TEST(DemoScript, WrongOptionsGiveOneLineAndTwo) {
    vlox_test::expectOneLineAndTwo({
        {VLOX_DEMO_SCRIPT, "--bogus"},
        {VLOX_DEMO_SCRIPT, "--delay", "soon"},
        {VLOX_DEMO_SCRIPT, "--dir"},
        {VLOX_DEMO_SCRIPT, "--crypto", "rot13"},
        {VLOX_DEMO_SCRIPT, "/nonexistent/file"},
    });
}

}  // namespace
