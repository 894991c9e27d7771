#include <Poco/Base64Encoder.h>
#include <Poco/Exception.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <future>
#include <memory>
#include <sstream>

#include "support/DevServer.h"
#include "support/TempDir.h"
#include "vloxlib/encrypt/Base64.h"
#include "vloxlib/encrypt/EncryptBridge.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using vlox_test::DevServer;
using vlox_test::Outcome;
using vlox_test::runDevServer;

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

TEST(DevServer, WrongOptionsGiveOneLineAndTwo) {
    const std::vector<std::string> rows[] = {
        {"--bogus"},
        {"stray"},
        {"--port"},
        {"--port", "65536"},
        {"--threads=0"},
        {"--misbehave=slow"},
        {"--misbehave=a=1"},
        {"--every=x"},
        {"--misbehave=cut=-1"},
        {"--primary=refuse"},
        {"--primary=dead", "--also-host=127.0.0.2"},
        {"--misbehave=zone=sm2"},
        {"--tls"},
    };
    for (const auto& arguments : rows) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        const Outcome result = runDevServer(arguments);
        EXPECT_EQ(2, result.exitCode);
        EXPECT_EQ("", result.output);
        EXPECT_EQ(1, std::count(result.errors.begin(), result.errors.end(), '\n')) << result.errors;
    }
}

TEST(DevServer, DoesNotShareAPortWithAnother) {
    const DevServer server;
    const std::string port = std::to_string(server.port());
    const Outcome second = runDevServer({"--stop-on-eof", "--port", port});
    EXPECT_EQ(1, second.exitCode);
    EXPECT_EQ("", second.output);
    EXPECT_THAT(second.errors, HasSubstr("port " + port + " of 127.0.0.1 is taken"));
}

TEST(DevServer, HelpNamesEveryMisbehaviour) {
    const Outcome result = runDevServer({"--help"});
    EXPECT_EQ(0, result.exitCode);
    EXPECT_THAT(result.output, HasSubstr("\ndelay=MS        wait so many"));
    EXPECT_THAT(result.output, HasSubstr("\ndiscard=1       an upload"));
}

TEST(DevServer, EndsCleanlyWhenAsked) {
    std::signal(SIGINT, SIG_DFL);  // a background job's is ignored, and the server would inherit that
    for (const char* signal : {"-TERM", "-INT"}) {
        SCOPED_TRACE(signal);
        DevServer server;
        EXPECT_EQ(0, Poco::Process::launch(VLOX_KILL, {signal, std::to_string(server.pid())}).wait());
        EXPECT_THROW(
            while (true) { server.ask("GET", "/stats"); }, Poco::Exception);
        EXPECT_EQ(0, server.stop());
    }
    DevServer server;
    EXPECT_EQ(0, server.stop()) << "the end of its input";
    const Outcome counted =
        runDevServer({"--final-stats", "--stop-on-eof"});  // its input has ended before it begins
    EXPECT_EQ(0, counted.exitCode);
    EXPECT_THAT(counted.output, HasSubstr("}\n{\"requests\":0,"));
}

TEST(DevServer, EndsDuringADelay) {
    DevServer server;
    auto waiting = std::async(std::launch::async, [&] {
        try {
            post(server, "/echo/@delay=600000", "{}");
        } catch (const Poco::Exception&) {
        }
    });
    server.awaitCount("plainRequests", 1);
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

TEST(DevServer, TellsWhereItsServicesAreAndWhereItHasBeenToldTo) {
    const DevServer server({"--also-host", "127.0.0.2"});
    const auto list = [&](const std::string& name) {
        const std::string port = std::to_string(server.port());
        return R"({"serverAddr":")" + name + R"(","port":)" + port + R"(,"httpsPort":)" + port + "}";
    };
    const auto kinds = [](const std::string& servers, const std::vector<std::string>& types) {
        std::string text;
        for (const std::string& type : types) {
            text += R"(,{"type":")" + type + R"(","serverList":[)" + servers + "]}";
        }
        return text.substr(1);
    };
    struct Row {
        std::string rule;
        std::string data;
    };
    const Row rows[] = {
        {"", kinds(list(server.host()), {"PCS", "FS", "CDS", "TOPIC", "BLS", "FPS", "VOIP"})},
        {"/@servers=0,unknown=1", kinds("", {"UNHEARD", "PCS", "FS", "CDS", "TOPIC", "BLS", "FPS", "VOIP"})},
        {"/@servers=2,broken=FS", kinds(list(server.host()) + "," + list("standby1.invalid"), {"PCS"}) +
                                      R"(,{"type":"FS"},)" +
                                      kinds(list(server.host()) + "," + list("standby1.invalid"),
                                            {"CDS", "TOPIC", "BLS", "FPS", "VOIP"})},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        EXPECT_THAT(post(server, "/vlox/server/address/query" + row.rule, R"({"domainName":"x"})").body,
                    HasSubstr("\"data\":\"" + base64("[" + row.data + "]") + "\""));
    }
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

std::string encryptedForm(vloxlib::EncryptBridge& bridge, const std::string& params) {
    return "appId=app&cryptoAlg=" + bridge.getCryptoTypeStr() +
           "&params=" + base64(bridge.encryptData(params)) + "&secretKey=" + bridge.getSecretKeyBase64() +
           "&version=1";
}

std::map<std::string, std::string> encryptedHeader(vloxlib::EncryptBridge& bridge) {
    return {{"VLOX-Ext",
             base64(bridge.symmetricEncryptContentBySpecialSecretKey(R"({"deviceType":0,"vloxId":"u"})"))}};
}

struct Combination {
    vloxlib::ASYM_ENCRYPT_TYPE asymmetric;
    vloxlib::SYM_ENCRYPT_TYPE symmetric;
};
const Combination combinations[] = {
    {vloxlib::ASYM_SM2, vloxlib::SYM_AES128_CBC},
    {vloxlib::ASYM_SM2, vloxlib::SYM_SM4},
    {vloxlib::ASYM_SM9, vloxlib::SYM_AES128_CBC},
    {vloxlib::ASYM_SM9, vloxlib::SYM_SM4},
};

std::shared_ptr<vloxlib::EncryptBridge> bridge(const DevServer& server, const Combination& with) {
    const bool sm2 = with.asymmetric == vloxlib::ASYM_SM2;
    return std::make_shared<vloxlib::EncryptBridge>(
        with.symmetric, with.asymmetric, server.line()[sm2 ? "sm2PublicKey" : "sm9Identity"].GetString(),
        server.line()["sm9Parameters"].GetString());
}

TEST(DevServer, UnwrapsEachSessionKeyOnceAndAnswersUnderIt) {
    const DevServer server;
    long long sessions = 0;
    for (const Combination& with : combinations) {
        SCOPED_TRACE(std::to_string(with.asymmetric) + "-" + std::to_string(with.symmetric));
        const auto session = bridge(server, with);
        const std::string form = encryptedForm(*session, R"({"text":"ü"})");
        for (int i = 0; i < 2; ++i) {
            rapidjson::Document envelope;
            envelope.Parse(server.ask("POST", "/echo", form, encryptedHeader(*session)).body.c_str());
            ASSERT_STREQ("0", envelope["code"].GetString()) << envelope["desc"].GetString();
            EXPECT_EQ(
                R"({"method":"POST","path":"echo","appId":"app","header":{"deviceType":0,"vloxId":"u"},)"
                R"("params":{"text":"ü"}})",
                session->decryptData(vloxlib::Base64::decode(envelope["data"].GetString())));
        }
        EXPECT_EQ(++sessions, server.count("unwrappedKeys"));
    }
    EXPECT_EQ(2 * sessions, server.count("encryptedRequests"));
    EXPECT_EQ(0, server.count("plainRequests"));
}

TEST(DevServer, RefusesWhatItCannotDecrypt) {
    const DevServer server;
    const DevServer stranger;
    for (const Combination& with : combinations) {
        SCOPED_TRACE(std::to_string(with.asymmetric) + "-" + std::to_string(with.symmetric));
        const auto session = bridge(server, with);
        const auto other = bridge(stranger, with);
        EXPECT_THAT(server.ask("POST", "/echo", encryptedForm(*other, "{}"), encryptedHeader(*other)).body,
                    HasSubstr(R"({"code":"10008","desc":"secretKey was not wrapped for this server")"));
        std::string form = encryptedForm(*session, "{}");
        const std::size_t params = form.find("params=") + 7;
        form.replace(params, form.find('&', params) - params, base64("no whole block"));
        EXPECT_THAT(server.ask("POST", "/echo", form, encryptedHeader(*session)).body,
                    HasSubstr(R"({"code":"10008","desc":"the content doesn't fit its key")"));
        EXPECT_THAT(server.ask("POST", "/echo", encryptedForm(*session, "{}"), header).body,
                    HasSubstr(R"({"code":"10008")"))
            << "a header in the clear";
        form = encryptedForm(*session, "{}");
        form.back() = '2';
        EXPECT_THAT(server.ask("POST", "/echo", form, encryptedHeader(*session)).body,
                    HasSubstr(R"({"code":"10001","desc":"version is not 1")"));
    }
    EXPECT_EQ(0, server.count("encryptedRequests"));
}

TEST(DevServer, KeepsItsKeysInADirectoryAndSaysWhatFilesAreWrong) {
    const vlox_test::TempDir dir;
    const std::vector<std::string> options = {"--keys", dir.path("keys"), "--identity", "server@example"};
    std::string first;
    for (int start = 0; start < 2; ++start) {
        const DevServer server(options);
        const rapidjson::Document& line = server.line();
        const std::string keys =
            line["sm2PublicKey"].GetString() + std::string(" ") + line["sm9Parameters"].GetString();
        EXPECT_EQ(start == 0 ? keys : first, keys);
        first = keys;
        EXPECT_STREQ("server@example", line["sm9Identity"].GetString());
        EXPECT_EQ(std::string("-----BEGIN IBC PARAMETERS-----\n") + line["sm9Parameters"].GetString() +
                      "\n-----END IBC PARAMETERS-----\n",
                  dir.read("keys/sm9-parameters.txt"));
        // The server's name for the file begins otherwise where it runs beside another kind of system.
        const std::string folder = std::filesystem::u8path(dir.path()).filename().u8string();
        EXPECT_THAT(line["sm9ParameterFile"].GetString(), EndsWith(folder + "/keys/sm9-parameters.txt"));
    }
    dir.write("keys/sm2.key", "AAAA");
    const Outcome damaged = runDevServer(options);
    EXPECT_EQ(1, damaged.exitCode);
    EXPECT_THAT(damaged.errors, HasSubstr("holds no SM2 key"));
    const Outcome noZone = runDevServer({"--other-zone", dir.path("keys/sm2.key")});
    EXPECT_EQ(1, noZone.exitCode);
    EXPECT_THAT(noZone.errors, HasSubstr("doesn't begin with what a server prints first"));
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
        {"/echo/@zone=rsa", "{}", 400, "needs none, sm2 or sm9"},
        {"/echo/@zone=sm2", "{}", 200, R"({"code":"0")"},  // it knows no other zone, so it is the other zone
        {"/server/address/query", "{}", 200, "an address query has a text domainName"},
        {"/server/address", "{}", 404, "no such service"},
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
    std::vector<std::future<DevServer::Reply>> replies(8);
    for (auto& reply : replies) {
        reply = std::async(std::launch::async, [&] { return post(server, "/echo/@delay=2000", "{}"); });
    }
    for (auto& reply : replies) {
        EXPECT_EQ(200, reply.get().status);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(15))
        << "one by one they take 16";
}

}  // namespace
