#include <Poco/Base64Encoder.h>
#include <Poco/Exception.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <future>
#include <sstream>

#include "support/DevServer.h"

namespace {

using testing::HasSubstr;
using vlox_test::DevServer;

std::string base64(const std::string& bytes) {
    std::ostringstream text;
    Poco::Base64Encoder encoder(text, Poco::BASE64_URL_ENCODING | Poco::BASE64_NO_PADDING);
    encoder.rdbuf()->setLineLength(0);
    encoder << bytes;
    encoder.close();
    return text.str();
}

const std::map<std::string, std::string> header = {{"VLOX-Ext", base64(R"({"deviceType":0,"vloxId":"u"})")}};

DevServer::Reply post(const DevServer& server, const std::string& path, const std::string& params) {
    return server.ask("POST", path, "params=" + base64(params), header);
}

struct Outcome {
    int exitCode;
    std::string output;
    std::string errors;
};

std::string readAll(Poco::Pipe& pipe) {
    std::string text;
    Poco::PipeInputStream stream(pipe);
    Poco::StreamCopier::copyToString(stream, text);
    return text;
}

Outcome run(const std::vector<std::string>& arguments) {
    Poco::Pipe output;
    Poco::Pipe errors;
    const Poco::ProcessHandle process =
        Poco::Process::launch(VLOX_DEVSERVER_PATH, arguments, nullptr, &output, &errors);
    Outcome result{0, readAll(output), readAll(errors)};
    result.exitCode = process.wait();
    return result;
}

TEST(DevServer, WrongOptionsGiveOneLineAndTwo) {
    const std::vector<std::string> rows[] = {
        {"--bogus"},          {"stray"},           {"--port"},    {"--port", "65536"},    {"--threads=0"},
        {"--misbehave=slow"}, {"--misbehave=a=1"}, {"--every=x"}, {"--misbehave=cut=-1"},
    };
    for (const auto& arguments : rows) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        const Outcome result = run(arguments);
        EXPECT_EQ(2, result.exitCode);
        EXPECT_EQ("", result.output);
        EXPECT_EQ(1, std::count(result.errors.begin(), result.errors.end(), '\n')) << result.errors;
    }
}

TEST(DevServer, HelpNamesEveryMisbehaviour) {
    const Outcome result = run({"--help"});
    EXPECT_EQ(0, result.exitCode);
    for (const char* name :
         {"delay=", "code=", "data=", "status=", "redirect=", "location=", "reply=", "garbage=", "cut="}) {
        EXPECT_THAT(result.output, HasSubstr(name));
    }
}

TEST(DevServer, EndsCleanlyWhenAsked) {
    for (const char* signal : {"-TERM", "-INT"}) {
        SCOPED_TRACE(signal);
        DevServer server;
        EXPECT_EQ(0, Poco::Process::launch("kill", {signal, std::to_string(server.pid())}).wait());
        EXPECT_THROW(
            while (true) { server.ask("GET", "/stats"); }, Poco::Exception);
        EXPECT_EQ(0, server.stop());
    }
    DevServer server;
    EXPECT_EQ(0, server.stop()) << "the end of its input";
}

TEST(DevServer, EndsDuringADelay) {
    DevServer server;
    auto waiting = std::async(std::launch::async, [&] {
        try {
            post(server, "/echo/@delay=600000", "{}");
        } catch (const Poco::Exception&) {
        }
    });
    while (server.count("plainRequests") == 0) {
    }
    EXPECT_EQ(0, server.stop());
}

TEST(DevServer, EchoTellsWhatArrived) {
    const DevServer server;
    const DevServer::Reply reply = post(server, "/vlox/echo/7", R"({"text":"ü","token":""})");
    EXPECT_EQ(200, reply.status);
    const std::string data =
        R"({"method":"POST","path":"echo/7","appId":"","header":{"deviceType":0,"vloxId":"u"},)"
        R"("params":{"text":"ü","token":""}})";
    EXPECT_EQ(R"({"code":"0","desc":"success","bid":"dev-1","data":")" + base64(data) + "\"}", reply.body);
    for (const char* method : {"GET", "PUT", "DELETE"}) {
        EXPECT_THAT(server.ask(method, "/echo?params=" + base64("{}"), "", header).body,
                    HasSubstr(R"("code":"0")"))
            << method;
    }
    const rapidjson::Document counted = server.stats();
    EXPECT_EQ(4, counted["plainRequests"].GetInt());
    EXPECT_EQ(1, counted["paths"]["echo/7"].GetInt());
    EXPECT_EQ(3, counted["paths"]["echo"].GetInt());
    EXPECT_EQ(4, counted["codes"]["0"].GetInt());
}

TEST(DevServer, RefusesWhatBreaksTheWireFormat) {
    const DevServer server;
    struct Row {
        const char* why;
        std::string body;
        std::map<std::string, std::string> headers;
    };
    const std::string good = "params=" + base64("{}");
    const Row rows[] = {
        {"no field params", "", header},
        {"field params comes twice", good + "&" + good, header},
        {"five fields", good + "&version=1", header},
        {"unknown field zip", good + "&zip=0", header},
        {"params is not in the URL-safe Base64", good + "=", header},
        {"params is not in the URL-safe Base64", "params=a%2Bb%2F", header},
        {"params holds no JSON object", "params=" + base64("[1]"), header},
        {"can't be read", "params=%zz", header},
        {"no header VLOX-Ext", good, {}},
        {"VLOX-Ext holds no JSON object", good, {{"VLOX-Ext", "e30x"}}},
        {"other members than", good, {{"VLOX-Ext", base64(R"({"deviceType":"0","vloxId":"u"})")}}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        const std::string body = server.ask("POST", "/echo", row.body, row.headers).body;
        EXPECT_THAT(body, HasSubstr(R"("code":"10001")"));
        EXPECT_THAT(body, HasSubstr(row.why));
    }
    EXPECT_EQ(0, server.count("plainRequests"));
    const DevServer lenient({"--envelope=0"});
    EXPECT_THAT(lenient.ask("POST", "/echo", good).body, HasSubstr(R"("code":"0")"));
}

TEST(DevServer, MisbehavesAsToldByPathOrParameters) {
    const DevServer server;
    struct Row {
        std::string path;
        std::string params;
        int status;
        std::string body;
    };
    const std::string coded = R"({"code":"15001","desc":"as asked for","bid":"dev-)";
    const Row rows[] = {
        {"/echo/@status=503,code=15001", "{}", 503, coded},
        {"/echo/@reply=a%2Cb%2Fc", "{}", 200, "a,b/c"},
        {"/echo", R"({"misbehave":{"code":15001,"status":404}})", 404, coded},
        {"/echo", R"({"misbehave":{"reply":"{}","garbage":false}})", 200, "{}"},
        {"/echo/@status=404", R"({"misbehave":{"reply":"stronger"}})", 200, "stronger"},
        {"/echo/@code=10016,data=zone", "{}", 200, base64("zone")},
        {"/mirror/@status=500", "{}", 500, R"({"method":"POST")"},
        {"/echo", R"({"misbehave":{"unheard":1}})", 200, "no misbehaviour is called 'unheard'"},
        {"/echo", R"({"misbehave":"delay=1"})", 200, "misbehave is no object"},
        {"/echo/@delay=-1", "{}", 400, "needs a number"},
        {"/nothing", "{}", 404, "no such service"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.path + " " + row.params);
        const DevServer::Reply reply = post(server, row.path, row.params);
        EXPECT_EQ(row.status, reply.status);
        EXPECT_THAT(reply.body, HasSubstr(row.body));
    }
    EXPECT_EQ("there", post(server, "/echo/@redirect=there", "{}").headers["Redirect"]);
    EXPECT_NE(std::string::npos, post(server, "/echo/@garbage=1", "{}").body.find('\0'));
    const DevServer::Reply cut = post(server, "/echo/@cut=10", "{}");
    EXPECT_EQ(R"({"code":"0)", cut.body);
    EXPECT_GT(std::stoi(cut.headers.at("Content-Length")), 10);
}

TEST(DevServer, MisbehavesEveryNthTimeAsToldByOption) {
    const DevServer server({"--misbehave", "code=15001", "--every", "3"});
    std::string seen;
    for (int i = 0; i < 7; ++i) {
        seen += post(server, "/echo", "{}").body.find("15001") == std::string::npos ? '.' : 'x';
    }
    EXPECT_EQ("..x..x.", seen);
    EXPECT_EQ(2, server.count("misbehaved"));
}

TEST(DevServer, AnswersSeveralAtATime) {
    const DevServer server;
    const auto start = std::chrono::steady_clock::now();
    std::vector<std::future<DevServer::Reply>> replies;
    for (int i = 0; i < 8; ++i) {
        replies.push_back(
            std::async(std::launch::async, [&] { return post(server, "/echo/@delay=1000", "{}"); }));
    }
    for (auto& reply : replies) {
        EXPECT_EQ(200, reply.get().status);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(7));
}

}  // namespace
