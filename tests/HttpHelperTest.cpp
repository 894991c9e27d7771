#include "vloxlib/http/HttpHelper.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/DataDir.h"
#include "support/DevServer.h"
#include "support/LogCapture.h"
#include "support/Patterns.h"
#include "support/RawHttpServer.h"
#include "vloxlib/ConfigManager.h"
#include "vloxlib/Context.h"
#include "vloxlib/encrypt/Base64.h"
#include "vloxlib/encrypt/EncryptBridge.h"
#include "vloxlib/http/RootBundleFile.h"
#include "vloxlib/http/RootCertificates.h"
#include "vloxlib/http/ServiceEnvelope.h"
#include "vloxlib/utility/FileUtil.h"
#include "vloxlib/utility/LoggedContent.h"

using namespace vloxlib;
using testing::HasSubstr;
using vlox_test::DevServer;
using vlox_test::LogCapture;
using vlox_test::RawHttpServer;

namespace {

constexpr char kVloxId[] = "someone";

// A client without encryption, its bridge brought up as an application does.
class HttpHelperTest : public testing::Test {
protected:
    HttpHelperTest() {
        config->setConfig(CONFIG_ENCRYPT_POLICY, 0);
        config->setConfig(CONFIG_SYM_ENCRYPT_TYPE, 0);
        config->setConfig(CONFIG_ENCRYPT_PUBKEY, "none");
        bridge->initial();
    }
    ~HttpHelperTest() override {
        HttpHelper::releaseInstance(kVloxId);
        Context::getInstance()->setContext(CONTEXT_DEVICE_TYPE, 0);
    }

    std::string post(const std::string& url, const std::string& params = "{}") {
        return helper->doSyncHttpRequest(HTTP_METHOD_POST, HTTP_BUSINESS_AS, url, params);
    }
    /// The result text for a reply with this body.
    std::string resultOf(const std::string& body) {
        return post(RawHttpServer(RawHttpServer::ok(body)).url());
    }

    const vlox_test::DataDir dataDir;
    std::shared_ptr<ConfigManager> config = ConfigManager::getInstance(kVloxId);
    std::shared_ptr<EncryptBridge> bridge = EncryptBridge::getInstance(kVloxId);
    std::shared_ptr<HttpHelper> helper = HttpHelper::getInstance(UserInfo("app", kVloxId));
};

// The decoded fields of a form or a query; every value that is sent here is Base64 or a plain word.
std::map<std::string, std::string> fieldsOf(const std::string& form) {
    std::map<std::string, std::string> fields;
    for (std::size_t start = 0; start < form.size();) {
        const std::size_t end = std::min(form.find('&', start), form.size());
        const std::string field = form.substr(start, end - start);
        fields[field.substr(0, field.find('='))] = field.substr(field.find('=') + 1);
        start = end + 1;
    }
    return fields;
}

std::string headerOf(const std::string& request, const std::string& name) {
    const std::size_t start = request.find("\r\n" + name + ": ");
    return start == std::string::npos
               ? ""
               : request.substr(start + name.size() + 4,
                                request.find("\r\n", start + 2) - start - name.size() - 4);
}

std::string quoted(std::string json) {
    for (std::size_t i = 0; (i = json.find('"', i)) != std::string::npos; i += 2) {
        json.insert(i, 1, '\\');
    }
    return "\"" + json + "\"";
}

}  // namespace

TEST_F(HttpHelperTest, WithoutEncryptionOnlyTheParametersGoOut) {
    Context::getInstance()->setContext(CONTEXT_DEVICE_TYPE, 5);
    const RawHttpServer server(RawHttpServer::ok(R"({"code":"0"})"));
    EXPECT_EQ(R"({"returnCode":0})", post(server.url("/vlox/x"), R"({ "a" : "&=\u00e9", "b": [1, 2] })"));
    const std::string request = server.lastRequest();
    const auto fields = fieldsOf(RawHttpServer::bodyOf(request));
    ASSERT_EQ(1U, fields.size());
    EXPECT_EQ("{\"a\":\"&=\u00e9\",\"b\":[1,2],\"token\":\"\"}", Base64::decode(fields.at("params")));
    EXPECT_EQ(R"({"deviceType":5,"vloxId":"someone"})", Base64::decode(headerOf(request, "VLOX-Ext")));
}

TEST_F(HttpHelperTest, WithEncryptionTheKeyGoesAlong) {
    config->setConfig(CONFIG_ENCRYPT_POLICY, ASYM_SM2);
    const RawHttpServer server(RawHttpServer::ok(R"({"code":"0"})"));
    post(server.url());
    EXPECT_THAT(
        RawHttpServer::bodyOf(server.lastRequest()),
        vlox_test::IsOfPattern("appId=app&cryptoAlg=[^&]+&params=[^&]+(&secretKey=[^&]+)?&version=1"));
}

TEST_F(HttpHelperTest, WithoutASessionKeyNothingIsSent) {
    const LogCapture log;
    const RawHttpServer server(RawHttpServer::ok(R"({"code":"0"})"));
    for (const int policy : {ASYM_SM2, ASYM_SM9}) {
        for (const int method : {HTTP_METHOD_GET, HTTP_METHOD_POST, HTTP_METHOD_PUT, HTTP_METHOD_DELETE}) {
            config->setConfig(CONFIG_ENCRYPT_POLICY, policy);
            config->setConfig(CONFIG_ENCRYPT_PUBKEY, "AAAA");
            config->setConfig(CONFIG_ENCRYPT_PARAM_PATH, dataDir.path() + "/missing");
            bridge->unInitial();
            ASSERT_EQ(-1, bridge->initial());
            EXPECT_EQ("", helper->doSyncHttpRequest(static_cast<HTTPMethod>(method), HTTP_BUSINESS_AS,
                                                    server.url(), "{}"));
        }
    }
    EXPECT_EQ(8, log.count("E", "nothing is sent without a session key"));
    EXPECT_TRUE(server.requests().empty());

    const RawHttpServer sender(RawHttpServer::ok(
        R"({"code":10016,"data":")" +
        Base64::encode(R"({"otherZonePublicKey":"AAAA","otherZoneIbcPubParam":"",)"
                       R"("otherZoneAsymmetricCryptoType":2,"otherZoneHttpPublicAddress":")" +
                       server.url("") + "\"}") +
        "\"}"));
    config->setConfig(CONFIG_ENCRYPT_POLICY, ASYM_NONE);
    bridge->unInitial();
    ASSERT_EQ(0, bridge->initial());
    EXPECT_THAT(post(sender.url()), HasSubstr(R"("returnCode":-829,"returnCode":-104)"));
    EXPECT_TRUE(server.requests().empty()) << "nor to another zone";
}

TEST_F(HttpHelperTest, TheHeaderIsLeftOutWhereItIsNotWanted) {
    config->setConfig(CONFIG_REQUEST_ENVELOPE_MODE, 0);
    const RawHttpServer server(RawHttpServer::ok(R"({"code":"0"})"));
    post(server.url());
    EXPECT_EQ("", headerOf(server.lastRequest(), "VLOX-Ext"));
}

TEST_F(HttpHelperTest, EachMethodHasItsShape) {
    const RawHttpServer server(RawHttpServer::ok(R"({"code":"0"})"));
    const char* const lines[] = {"GET /p?params=ey", "POST /p HTTP/1.1", "PUT /p?params=ey",
                                 "DELETE /p?params=ey"};
    for (int method = HTTP_METHOD_GET; method <= HTTP_METHOD_DELETE; ++method) {
        EXPECT_EQ(R"({"returnCode":0})",
                  helper->doSyncHttpRequest(static_cast<HTTPMethod>(method), HTTP_BUSINESS_FS,
                                            server.url("/p"), "{}", 20));
        EXPECT_THAT(server.lastRequest(), testing::StartsWith(lines[method]));
    }
    const LogCapture log;
    EXPECT_EQ(R"({"returnCode":-803})",
              helper->doSyncHttpRequest(static_cast<HTTPMethod>(9), HTTP_BUSINESS_AS, server.url(), "{}"));
    EXPECT_EQ(1, log.count("W", "unsupport http method. httpMethod=9"));
}

TEST_F(HttpHelperTest, ReadsReplies) {
    struct Row {
        const char* why;
        std::string body;
        std::string result;
    };
    const auto sealed = [](const std::string& code, const std::string& json) {
        return R"({"code":)" + code + R"(,"data":")" + Base64::encode(json) + "\"}";
    };
    const auto raw = [](const std::string& body, int code) {
        return R"({"data":)" + quoted(body) + R"(,"returnCode":)" + std::to_string(code) + "}";
    };
    const Row rows[] = {
        {"no data", R"({"code":"0"})", R"({"returnCode":0})"},
        {"empty data", R"({"code":"0","data":""})", R"({"returnCode":0})"},
        {"data stays a text", sealed("\"0\"", R"({"x":[1]})"), raw(R"({"x":[1]})", 0)},
        {"a code as a number", sealed("0", "[]"), raw("[]", 0)},
        {"data that is no text is absent", R"({"code":"0","data":{"x":1}})", R"({"returnCode":0})"},
        {"data that is no Base64", R"({"code":"0","data":"!!"})", R"({"returnCode":0})"},
        {"a failure of the service", R"({"code":"10005","desc":"no"})",
         raw(R"({"code":"10005","desc":"no"})", -208)},
        {"a family that keeps its code", R"({"code":15123})", raw(R"({"code":15123})", 15123)},
        {"a code that nobody knows", R"({"code":"19000"})", raw(R"({"code":"19000"})", -199)},
        {"a native code", R"({"code":-5})", raw(R"({"code":-5})", -5)},
        {"a code that is no number reads as success", R"({"code":"fine"})", R"({"returnCode":0})"},
        {"a code that is neither", R"({"code":true})", raw(R"({"code":true})", -116)},
        {"a fraction", R"({"code":0.5})", raw(R"({"code":0.5})", -116)},
        {"no code", R"({"data":"x"})", raw(R"({"data":"x"})", -116)},
        {"no object", "[0]", raw("[0]", -116)},
        {"no JSON", "<html>", raw("<html>", -112)},
        {"cut off", R"({"code":"0)", raw(R"({"code":"0)", -112)},
        {"JSON with something behind it", R"({"code":"0"} x)", raw(R"({"code":"0"} x)", -112)},
        {"nothing", "", R"({"returnCode":-112})"},
        {"members of wrong types", R"({"code":"0","bid":[],"desc":7,"data":null})", R"({"returnCode":0})"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        EXPECT_EQ(row.result, resultOf(row.body));
    }
}

TEST_F(HttpHelperTest, ABottomlessReplyIsRefused) {
    config->setConfig(CONFIG_REPLY_LIMIT, 12);
    EXPECT_EQ(R"({"returnCode":0})", resultOf(R"({"code":"0"})"));
    EXPECT_EQ(R"({"returnCode":-199})", resultOf(R"({"code":"0"} )"));
    rapidjson::Document document;
    rapidjson::Value result;
    EXPECT_EQ(-112, helper->handleHttpBody(std::string(1 << 20, '['), result, document));
}

TEST_F(HttpHelperTest, TheLogShowsShapesWhereItMayShowNoContent) {
    for (const bool whole : {false, true}) {
        setContentLogged(whole);
        const LogCapture log;
        rapidjson::Document document;
        rapidjson::Value data;
        ServerInfo zone;
        resultOf(R"({"data":"secret"})");
        resultOf("<secret>");
        helper->parseHttpResultString("secret", document, data);
        helper->parseHttpResultString(R"({"data":"secret","returnCode":0})", document, data);
        HttpHelper::generateEncryptBridge(SYM_NONE, R"({"key":"secret"})", zone);
        EXPECT_EQ("", post("http://unused.invalid/", R"({"secret")"));
        EXPECT_EQ(whole ? 6 : 0, log.count("secret"));
        EXPECT_EQ(whole ? 0 : 1, log.count("W", "no code. methodName=doSyncHttpRequest, body=17 bytes data"));
    }
}

TEST_F(HttpHelperTest, BadTransfersAreTold) {
    const LogCapture log;
    ExchangeOutcome outcome;
    EXPECT_EQ(R"({"returnCode":-199})",
              helper->doSyncHttpRequest(
                  HTTP_METHOD_POST, HTTP_BUSINESS_AS,
                  RawHttpServer(RawHttpServer::reply("503 Busy", "", R"({"code":"0"})")).url(), {}, "{}", 15,
                  outcome));
    EXPECT_EQ(503, outcome.status);
    EXPECT_EQ(R"({"returnCode":-199})",
              post(RawHttpServer(std::string("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n{")).url()));
    EXPECT_EQ(R"({"returnCode":-806})", post("http://no-such-host.invalid/"));
    const RawHttpServer silent([](auto& client, const std::string&) { RawHttpServer::stall(client); });
    EXPECT_EQ(R"({"returnCode":-828})",
              helper->doSyncHttpRequest(HTTP_METHOD_GET, HTTP_BUSINESS_AS, silent.url(), "{}", 1));
    EXPECT_EQ(1, log.count("W", "curl error. methodName=doSyncHttpRequest,curlReturnCode=-828"));
    EXPECT_EQ(4, log.count("D", ", param={\"token\":\"\"}")) << "the parameters in the clear, once a request";
}

TEST_F(HttpHelperTest, NothingIsSentForWhatCannotBeBuilt) {
    const RawHttpServer server(RawHttpServer::ok("{}"));
    const LogCapture log;
    struct Row {
        const char* log;
        std::string url;
        HttpHelper::HeadParams head;
        std::string params;
    };
    const Row rows[] = {
        {"url is empty", "", {}, "{}"},
        {"headParams should use all", server.url("/${a}"), {{"a", "1"}, {"b", "2"}}, "{}"},
        {"headUrl should replace all", server.url("/${a}/${b}"), {{"a", "1"}}, "{}"},
        {"headUrl should replace all", server.url("/$"), {}, "{}"},
        {"json parse error. paramsJsonStr={\"a\"", server.url(), {}, R"({"a")"},
        {"params is no json object", server.url(), {}, "[]"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.log);
        const std::ptrdiff_t before = log.count("W", row.log);
        EXPECT_EQ(
            "", helper->doSyncHttpRequest(HTTP_METHOD_POST, HTTP_BUSINESS_AS, row.url, row.head, row.params));
        EXPECT_EQ(before + 1, log.count("W", row.log));
    }
    EXPECT_TRUE(server.requests().empty());
}

TEST_F(HttpHelperTest, FillsPlaceholders) {
    struct Row {
        const char* why;
        const char* path;
        HttpHelper::HeadParams head;
        const char* line;
    };
    const Row rows[] = {
        {"one", "/oac/${oacId}/x", {{"oacId", "7"}}, "GET /oac/7/x?"},
        {"at both places", "/${a}/aside/${a}", {{"a", "123456"}}, "GET /123456/aside/123456?"},
        {"two", "/${a}-${b}", {{"b", "2"}, {"a", "1"}}, "GET /1-2?"},
    };
    const RawHttpServer server(RawHttpServer::ok(R"({"code":0})"));
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        rapidjson::Document params(rapidjson::kObjectType);
        EXPECT_EQ(R"({"returnCode":0})", helper->doSyncHttpRequest(HTTP_METHOD_GET, HTTP_BUSINESS_AS,
                                                                   server.url(row.path), params, row.head));
        EXPECT_THAT(server.lastRequest(), testing::StartsWith(row.line));
        EXPECT_EQ(0U, params.MemberCount()) << "the caller's parameters stay as they are";
    }
}

TEST_F(HttpHelperTest, TheTokenFollowsTheSignatureOnly) {
    const LogCapture log;
    EXPECT_EQ("", helper->getToken());
    EXPECT_EQ(1, log.count("W", "m_token is empty"));
    helper->setLoginInfo(LoginInfo(11, "sig", 7));
    const std::string token = helper->getToken();
    EXPECT_EQ(R"({"appId":"app","vloxId":"someone","signature":"sig","exptime":"11","creationTime":"7"})",
              Base64::decode(token));
    helper->setLoginInfo(LoginInfo(99, "sig", 7));
    EXPECT_EQ(token, helper->getToken());
    helper->setLoginInfo(LoginInfo(99, nullptr, 7));
    EXPECT_EQ(token, helper->getToken()) << "a login without a signature changes nothing";
    helper->setLoginInfo(LoginInfo(99, "new", 7));
    EXPECT_THAT(Base64::decode(helper->getToken()), HasSubstr(R"("signature":"new","exptime":"99")"));

    const RawHttpServer server(RawHttpServer::ok(R"({"code":0})"));
    post(server.url());
    EXPECT_EQ(R"({"token":")" + helper->getToken() + "\"}",
              Base64::decode(fieldsOf(RawHttpServer::bodyOf(server.lastRequest())).at("params")));
}

TEST(ServiceEnvelope, ConnectingTakesAPartOfTheTimeOnly) {
    const int rows[][2] = {{5, 5}, {10, 10}, {15, 10}, {600, 10}, {0, 0}};
    for (const auto& [timeout, connectTimeout] : rows) {
        EXPECT_EQ(timeout, serviceLimits(timeout).timeout);
        EXPECT_EQ(connectTimeout, serviceLimits(timeout).connectTimeout);
    }
}

TEST_F(HttpHelperTest, BuildsServiceUrls) {
    EXPECT_EQ("", helper->getCommonHttpBusinessTypeFullUrl("echo"));
    config->setConfig(CONFIG_AS_HOST, "as.example");
    EXPECT_EQ("", helper->getCommonHttpBusinessTypeFullUrl("echo"));
    config->setConfig(CONFIG_AS_PORT, 8080);
    EXPECT_EQ("http://as.example:8080/vlox/echo", helper->getCommonHttpBusinessTypeFullUrl("echo"));
    config->setConfig(CONFIG_URL_SERVICE_PREFIX, 0);
    config->setConfig(CONFIG_WEB_REQUEST_MODE, 2);
    EXPECT_EQ("https://as.example:8080/echo", helper->getCommonHttpBusinessTypeFullUrl("echo"));
    EXPECT_EQ(SECURITY_POLICY_SERVER_CA, helper->getWebRequestMode());
}

TEST_F(HttpHelperTest, WritesTheRootCertificatesWhereTheyAreNotYet) {
    std::string directory = dataDir.path();
    const std::string path = directory + "/certificate/cacert.pem";
    const auto load = [&](int expected, const char* logged) {
        const LogCapture log;
        config->setConfig(CONFIG_CA_FILE_PATH, std::string());
        EXPECT_EQ(expected, writeRootBundle(directory, *config));
        EXPECT_EQ(1, log.count(logged));
        EXPECT_EQ(expected == 0 ? path : "", config->getConfig(CONFIG_CA_FILE_PATH, std::string()));
    };
    const auto content = [&] {
        std::string read;
        FileUtil::readFileContent(path, read);
        return read;
    };
    load(0, "ca update success. path=");
    EXPECT_EQ(builtInRootCertificates(), content());
    load(0, "caMd5 match success, no need update");
    FileUtil::writeFileContent(path, "an older bundle");
    load(0, "ca update success. path=");
    EXPECT_EQ(builtInRootCertificates(), content());
    FileUtil::remove(path);
    FileUtil::createDir(path);  // in the file's place
    load(-105, "write CA content failed. result=-1");
    FileUtil::remove(dataDir.path() + "/certificate");
    load(0, "caDir is not exist");
    directory += "/nowhere";
    load(-110, "create caDir failed. result=-1");
}

TEST_F(HttpHelperTest, ReadsResultTexts) {
    struct Row {
        const char* why;
        const char* text;
        int code;
        const char* data;
    };
    const Row rows[] = {
        {"no data", R"({"returnCode":-208})", -208, "null"},
        {"data", R"({"data":"{\"x\":[1,\"a\"]}","returnCode":0})", 0, R"({"x":[1,"a"]})"},
        {"the first attempt counts", R"({"returnCode":-829,"data":"[1]","returnCode":0,"data":"[2]"})", -829,
         "[1]"},
        {"data that is no text", R"({"data":[1],"returnCode":0})", 0, "null"},
        {"data that is no JSON", R"({"data":"<html>","returnCode":-112})", -112, "null"},
        {"empty data", R"({"data":"","returnCode":0})", -112, "null"},
        {"no code", R"({"data":"[1]"})", -116, "null"},
        {"a code that is a text", R"({"returnCode":"0"})", -116, "null"},
        {"no object", "[]", -116, "null"},
        {"no JSON", "", -112, "null"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        rapidjson::Document document;
        rapidjson::Value data;
        EXPECT_EQ(row.code, helper->parseHttpResultString(row.text, document, data));
        EXPECT_EQ(row.data, RapidJsonUtils::jsonToString(data));
    }
}

TEST_F(HttpHelperTest, AttemptsPileUpInOneResult) {
    rapidjson::Document document;
    rapidjson::Value result;
    EXPECT_EQ(-829, helper->handleHttpBody(R"({"code":10016,"data":"W10"})", result, document));
    EXPECT_EQ(0, HttpHelper::handleHttpBody(R"({"code":0,"data":"WzFd"})", nullptr, result, document));
    EXPECT_EQ(R"({"data":"[]","returnCode":-829,"data":"[1]","returnCode":0})",
              RapidJsonUtils::jsonToString(result));
}

TEST_F(HttpHelperTest, WithoutABridgeNothingIsEncrypted) {
    const LogCapture log;
    EXPECT_EQ("", HttpHelper::generateHttpParam(nullptr, "x"));
    EXPECT_EQ("", HttpHelper::generateHttpHeaderParam(nullptr, "x"));
    EXPECT_EQ(2, log.count("W", "m_encrypt is not been set"));
    EXPECT_EQ("eA", helper->generateHttpParam("x"));
}

TEST_F(HttpHelperTest, OneHelperPerAccount) {
    EXPECT_EQ(helper, HttpHelper::getInstance(UserInfo("another app", kVloxId)));
    HttpHelper::releaseInstance(kVloxId);
    EXPECT_NE(helper, HttpHelper::getInstance(UserInfo("app", kVloxId)));
    const auto nameless = HttpHelper::getInstance(UserInfo("app", ""));
    HttpHelper::releaseInstance("uuId");
    EXPECT_EQ(nameless, HttpHelper::getInstance(UserInfo("app", "")));
}

TEST_F(HttpHelperTest, RequestsRunInParallelWhileALoginComes) {
    const DevServer server;
    const std::string url = server.url("/vlox/echo");
    std::atomic<int> good{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] {
            for (int j = 0; j < 5; ++j) {
                helper->setLoginInfo(LoginInfo(i, std::to_string(j).c_str(), i));
                rapidjson::Document document;
                rapidjson::Value data;
                good += helper->parseHttpResultString(post(url), document, data) == 0;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(20, good);
    EXPECT_EQ(20, server.count("plainRequests"));
}

TEST_F(HttpHelperTest, UnderstandsThePlatform) {
    const DevServer server;
    helper->setLoginInfo(LoginInfo(1, "sig", 1));
    const std::string token = helper->getToken();
    for (const HTTPMethod method : {HTTP_METHOD_GET, HTTP_METHOD_POST, HTTP_METHOD_PUT, HTTP_METHOD_DELETE}) {
        rapidjson::Document document;
        rapidjson::Value data;
        const std::string result =
            helper->doSyncHttpRequest(method, HTTP_BUSINESS_AS, server.url("/vlox/echo/${id}"), {{"id", "7"}},
                                      R"({"text":"h\u00e9 \ud83d\ude00"})");
        ASSERT_EQ(0, helper->parseHttpResultString(result, document, data)) << result;
        EXPECT_THAT(RapidJsonUtils::jsonToString(data), HasSubstr(token));
        EXPECT_THAT(RapidJsonUtils::jsonToString(data), HasSubstr("h\u00e9 \U0001F600"));
    }
    EXPECT_THAT(post(server.url("/vlox/echo"), R"({"misbehave":{"code":15001}})"),
                HasSubstr(R"("returnCode":15001)"));
    EXPECT_THAT(post(server.url("/echo/@status=500")), HasSubstr(R"("returnCode":-199)"));
    EXPECT_THAT(post(server.url("/echo/@garbage=1")), HasSubstr(R"("returnCode":-112)"));
}
