#include "support/DemoFixture.h"

#include <Poco/Thread.h>
#include <gmock/gmock.h>

#include <random>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using vlox_test::DemoTest;
using vlox_test::expectOneLineAndTwo;
using vlox_test::toText;

constexpr int kInterrupted = -20001;

TEST_F(DemoTest, EveryLineBecomesOneResult) {
    ASSERT_EQ(0, run(VLOX_MESSAGES_PATH)) << output();
    ASSERT_LE(200U, sent().size());
    EXPECT_EQ(sent(), echoed());
    EXPECT_EQ(static_cast<long long>(sent().size()), server().count("encryptedRequests"));
    EXPECT_THAT(output(), HasSubstr("99th"));
    EXPECT_THAT(output(), HasSubstr(m_dir.path("data/messages.db")));

    ASSERT_EQ(0, run(VLOX_MESSAGES_PATH)) << output();
    EXPECT_EQ(0, figure("stored")) << "the same lines once more";
    EXPECT_EQ(static_cast<long long>(sent().size()), figure("known"));
    EXPECT_EQ(sent(), echoed());
}

TEST_F(DemoTest, EveryWayOfEncryptingDoesIt) {
    for (const char* crypto : {"sm2-aes", "sm2-sm4", "sm9-aes", "sm9-sm4", "none"}) {
        SCOPED_TRACE(crypto);
        std::filesystem::remove_all(m_dir.path("data"));
        serve({"--keys", m_dir.path("keys")});
        ASSERT_EQ(0, Run(*this, VLOX_MESSAGES_PATH, {"--crypto", crypto}).wait()) << output();
        EXPECT_EQ(sent(), echoed());
        const bool plain = crypto == std::string("none");
        EXPECT_EQ(plain ? 0 : 1, server().count("unwrappedKeys"));
        EXPECT_EQ(plain ? 0 : static_cast<long long>(sent().size()), server().count("encryptedRequests"));
        EXPECT_EQ(plain ? static_cast<long long>(sent().size()) : 0, server().count("plainRequests"));
    }
}

TEST_F(DemoTest, OverTlsItTrustsTheAuthorityOfThePlatformAlone) {
    serve({"--tls", "--keys", m_dir.path("keys")});
    for (const char* how : {"--https", "--https-mutual"}) {
        SCOPED_TRACE(how);
        std::filesystem::remove_all(m_dir.path("data"));
        ASSERT_EQ(0, Run(*this, VLOX_MESSAGES_PATH, {how}).wait()) << output();
        EXPECT_EQ(sent(), echoed());
    }
    const long long arrived = server().count("encryptedRequests");
    EXPECT_EQ(2 * static_cast<long long>(sent().size()), arrived);

    rapidjson::Document line;
    line.Parse(server().firstLine().c_str());
    line["tls"]["ports"]["good"] = line["tls"]["ports"]["unknownAuthority"].GetInt();
    m_dir.write("platform.json", toText(line));
    std::filesystem::remove_all(m_dir.path("data"));
    ASSERT_EQ(0, Run(*this, messages(R"({"qos":"once"})"), {"--https"}).wait()) << output();
    ASSERT_EQ(1U, results().size());
    EXPECT_EQ(-199, results().begin()->second.code);
    EXPECT_EQ(arrived, server().count("encryptedRequests"));
}

TEST_F(DemoTest, LosesNothingWhenKilledAtRandomMoments) {
    serve({"--misbehave", "delay=40"});
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto served = [&] { return server().count("plainRequests") + server().count("encryptedRequests"); };
    int kills = 0;
    for (; kills < 8; ++kills) {
        const long long before = served();
        Run run(*this, VLOX_MESSAGES_PATH);
        // Wine doesn't close the output of a program that was killed before it had begun.
        while (run.running() && served() == before) {
            Poco::Thread::sleep(1);
        }
        Poco::Thread::sleep(std::uniform_int_distribution<long>(0, 480)(random));
        if (!run.running()) {
            break;
        }
        run.kill();
        run.wait();
    }
    ASSERT_EQ(0, run(VLOX_MESSAGES_PATH)) << output();
    EXPECT_GT(kills, 0);
    EXPECT_EQ(sent(), echoed());
    EXPECT_EQ(static_cast<long long>(sent().size()), figure("allResults"));
}

TEST_F(DemoTest, LinesThatAreNoJsonAreNamedAndSkipped) {
    const std::string file = messages(
        "{\"body\":\"a\"}\nnot json\n\n{\"body\":\"a\"}\n{\"body\":\"\xff\"}\n[1,2]\n\"text\"\r\n{\"open\":");
    ASSERT_EQ(0, run(file)) << output();
    for (const char* line : {"line 2 ", "line 5 ", "line 8 "}) {
        EXPECT_THAT(output(), HasSubstr(line + std::string("is no JSON and is skipped")));
    }
    EXPECT_EQ(3, figure("skipped"));
    EXPECT_THAT(echoed(),
                ElementsAre(R"({"body":"a"})", R"({"body":"a"})", R"({"body":"text"})", R"({"body":[1,2]})"));
}

TEST_F(DemoTest, WhatGotNoAnswerIsSentAgain) {
    for (const char* rule : {"cut=10", "garbage=1", "status=503", "reply={}"}) {
        SCOPED_TRACE(rule);
        std::filesystem::remove_all(m_dir.path("data"));
        serve({"--misbehave", rule, "--every", "3"});
        std::string lines;
        for (int i = 0; i < 6; ++i) {
            lines += std::to_string(i) + "\n";
        }
        ASSERT_EQ(0, run(messages(lines))) << output();
        EXPECT_EQ(6U, echoed().size());
        EXPECT_GT(server().count("misbehaved"), 0);
        EXPECT_THAT(output(), HasSubstr("failures by code"));
    }
}

TEST_F(DemoTest, ARefusalIsAResult) {
    ASSERT_EQ(0, run(messages(R"({"misbehave":{"code":15001}})"))) << output();
    ASSERT_EQ(1U, results().size());
    EXPECT_EQ(15001, results().begin()->second.code);
    EXPECT_EQ(1, server().count("encryptedRequests")) << "asking again would bring the same";
}

TEST_F(DemoTest, OnlyTheForeverQualitySurvivesTheProcess) {
    const std::string file = messages(R"({"qos":"forever"}
{"qos":"process"}
{"qos":"once"}
{"qos":"timeout"}
)");
    serve({"--misbehave", "delay=600000"});
    Run first(*this, file);
    server().awaitCount("encryptedRequests", 4);
    first.kill();
    first.wait();
    serve({});
    ASSERT_EQ(0, run(file)) << output();
    std::multiset<int> codes;
    for (const auto& [id, result] : results()) {
        codes.insert(result.code);
    }
    EXPECT_THAT(codes, ElementsAre(kInterrupted, kInterrupted, kInterrupted, 0));
    EXPECT_EQ(1, server().count("encryptedRequests"));
}

TEST_F(DemoTest, WhatWasDeliveredTwiceIsSaid) {
    const std::string file = messages("{\"body\":\"a\"}\n");
    ASSERT_EQ(0, run(file)) << output();
    const std::string id = results().begin()->first;
    // The state after a kill between the delivery and the removal of its result.
    store("INSERT INTO table_result (result_id,type,result_data) VALUES ('" + id + "',16,'')");
    ASSERT_EQ(0, run(file)) << output();
    EXPECT_THAT(output(), HasSubstr("delivered twice: " + id));
    EXPECT_EQ(1, figure("twice"));
    EXPECT_EQ(1, figure("allResults"));
}

TEST(Demo, WrongOptionsGiveOneLineAndTwo) {
    expectOneLineAndTwo({
        {VLOX_MESSENGER_PATH, "--bogus"},
        {VLOX_MESSENGER_PATH, "--crypto", "rsa"},
        {VLOX_MESSENGER_PATH},
        {VLOX_MESSENGER_PATH, "--senders", "0"},
        {VLOX_MESSENGER_PATH, "--platform", "x", "/nonexistent/file"},
    });
}

}  // namespace
