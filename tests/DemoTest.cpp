#include <Poco/Thread.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <sqlite3.h>

#include <csignal>
#include <map>
#include <memory>
#include <random>
#include <set>

#include "support/DevServer.h"
#include "support/TempDir.h"

// The example application, run as a user would run it: what counts is what it leaves behind and prints.
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using vlox_test::DevServer;

constexpr int kInterrupted = -20001;
constexpr int kStoppedEarly = 3;

std::string toText(const rapidjson::Value& value) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    value.Accept(writer);
    return buffer.GetString();
}

std::vector<std::string> linesOf(const std::string& text) {
    std::istringstream source(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(source, line);) {
        lines.push_back(line);
    }
    return lines;
}

class DemoTest : public testing::Test {
protected:
    DemoTest() {
        std::signal(SIGINT,
                    SIG_DFL);  // a background job's is ignored, and the application would inherit that
        serve({});
    }

    void serve(const std::vector<std::string>& arguments) {
        m_server.reset();
        m_server = std::make_unique<DevServer>(arguments);
        m_dir.write("platform.json", toText(m_server->line()));
    }
    DevServer& server() { return *m_server; }

    std::string messages(const std::string& lines) const {
        m_dir.write("messages.jsonl", lines);
        return m_dir.path("messages.jsonl");
    }

    /// One run of the application, which writes what it prints into a file.
    class Run {
    public:
        Run(const DemoTest& test, const std::string& file, const std::string& crypto = "sm2-aes")
            : m_output(test.m_dir.path("output")),
              m_process(Poco::Process::launch(
                  "sh", {"-c", "exec \"$0\" \"$@\" >" + m_output + " 2>&1", VLOX_MESSENGER_PATH, "--platform",
                         test.m_dir.path("platform.json"), "--dir", test.m_dir.path("data"), "--summary",
                         test.m_dir.path("summary.json"), "--crypto", crypto, file})) {}
        void kill() { Poco::Process::kill(m_process); }
        void interrupt() { Poco::Process::requestTermination(m_process.id()); }
        bool running() const { return Poco::Process::isRunning(m_process); }
        int wait() { return m_process.wait(); }

    private:
        std::string m_output;
        Poco::ProcessHandle m_process;
    };
    int run(const std::string& file) const { return Run(*this, file).wait(); }
    std::string output() const { return m_dir.read("output"); }

    long long figure(const char* name) const {
        rapidjson::Document summary;
        summary.Parse(m_dir.read("summary.json").c_str());
        return summary.IsObject() && summary.HasMember(name) ? summary[name].GetInt64() : -1;
    }
    void store(const std::string& sql) const {
        sqlite3* db = nullptr;
        EXPECT_EQ(SQLITE_OK, sqlite3_open(m_dir.path("data/messages.db").c_str(), &db));
        EXPECT_EQ(SQLITE_OK, sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr)) << sqlite3_errmsg(db);
        sqlite3_close(db);
    }
    struct Result {
        int code;
        std::string data;
    };
    /// The journal by task id; a test fails where one id stands there twice.
    std::map<std::string, Result> results() const {
        std::map<std::string, Result> found;
        for (const std::string& line : linesOf(m_dir.read("data/results.jsonl"))) {
            rapidjson::Document result;
            result.Parse(line.c_str());
            EXPECT_TRUE(result.IsObject()) << line;
            EXPECT_TRUE(found
                            .emplace(result["id"].GetString(),
                                     Result{result["code"].GetInt(), result["data"].GetString()})
                            .second)
                << line;
        }
        return found;
    }
    /// What the service got, out of the results; the token, which the library adds, left out.
    std::multiset<std::string> echoed() const {
        std::multiset<std::string> bodies;
        for (const auto& [id, result] : results()) {
            EXPECT_EQ(0, result.code) << id;
            rapidjson::Document data;
            data.Parse(result.data.c_str());
            if (data.IsObject() && data.HasMember("params")) {
                data["params"].RemoveMember("token");
                bodies.insert(toText(data["params"]));
            }
        }
        return bodies;
    }
    static std::multiset<std::string> sent() {
        std::multiset<std::string> bodies;
        std::ifstream file(VLOX_MESSAGES_PATH);
        for (std::string line; std::getline(file, line);) {
            rapidjson::Document message;
            message.Parse(line.c_str());
            bodies.insert(toText(message));
        }
        return bodies;
    }

    vlox_test::TempDir m_dir;
    std::unique_ptr<DevServer> m_server;
};

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
        ASSERT_EQ(0, Run(*this, VLOX_MESSAGES_PATH, crypto).wait()) << output();
        EXPECT_EQ(sent(), echoed());
        const bool plain = crypto == std::string("none");
        EXPECT_EQ(plain ? 0 : 1, server().count("unwrappedKeys"));
        EXPECT_EQ(plain ? 0 : static_cast<long long>(sent().size()), server().count("encryptedRequests"));
        EXPECT_EQ(plain ? static_cast<long long>(sent().size()) : 0, server().count("plainRequests"));
    }
}

TEST_F(DemoTest, LosesNothingWhenKilledAtRandomMoments) {
    serve({"--misbehave", "delay=20"});
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    int kills = 0;
    for (; kills < 8; ++kills) {
        Run run(*this, VLOX_MESSAGES_PATH);
        Poco::Thread::sleep(std::uniform_int_distribution<long>(20, 500)(random));
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

TEST_F(DemoTest, CtrlCStopsEarlyAndTheNextRunFinishes) {
    serve({"--misbehave", "delay=50"});
    Run first(*this, VLOX_MESSAGES_PATH);
    server().awaitCount("encryptedRequests", 10);
    first.interrupt();
    EXPECT_EQ(kStoppedEarly, first.wait());
    EXPECT_THAT(output(), HasSubstr("the next run on the same directory finishes the rest"));
    EXPECT_LT(figure("delivered"), static_cast<long long>(sent().size()));
    ASSERT_EQ(0, run(VLOX_MESSAGES_PATH)) << output();
    EXPECT_THAT(output(), HasSubstr("an earlier run left"));
    EXPECT_EQ(sent(), echoed());
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
    const std::vector<std::string> rows[] = {
        {VLOX_DEMO_SCRIPT, "--bogus"},
        {VLOX_DEMO_SCRIPT, "--delay", "soon"},
        {VLOX_DEMO_SCRIPT, "--dir"},
        {VLOX_DEMO_SCRIPT, "--crypto", "rot13"},
        {VLOX_DEMO_SCRIPT, "/nonexistent/file"},
        {VLOX_MESSENGER_PATH, "--bogus"},
        {VLOX_MESSENGER_PATH, "--crypto", "rsa"},
        {VLOX_MESSENGER_PATH},
        {VLOX_MESSENGER_PATH, "--senders", "0"},
        {VLOX_MESSENGER_PATH, "--platform", "x", "/nonexistent/file"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row));
        Poco::Pipe errors;
        const std::vector<std::string> arguments(row.begin() + 1, row.end());
        const Poco::ProcessHandle process =
            Poco::Process::launch(row.front(), arguments, nullptr, nullptr, &errors);
        std::string text;
        Poco::PipeInputStream stream(errors);
        Poco::StreamCopier::copyToString(stream, text);
        EXPECT_EQ(2, process.wait());
        EXPECT_EQ(1U, linesOf(text).size()) << text;
    }
}

}  // namespace
