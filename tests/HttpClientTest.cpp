#include "vloxlib/http/HttpClient.h"

#include <gtest/gtest.h>

#include <Poco/Environment.h>
#include <Poco/Net/ServerSocket.h>

#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/LogCapture.h"
#include "support/RawHttpServer.h"
#include "support/TempDir.h"
#include "vloxlib/http/HttpHeaderLine.h"
#include "vloxlib/http/ReplyHeaders.h"
#include "vloxlib/http/TransferData.h"

using namespace vloxlib;
using vlox_test::RawHttpServer;

namespace {

std::shared_ptr<QosParams> seconds(int timeout, int connectTimeout) {
    auto qos = std::make_shared<QosParams>();
    qos->timeout = timeout;
    qos->connectTimeout = connectTimeout;
    return qos;
}

struct Outcome {
    int code;
    long status;
    std::string body;
};

Outcome run(HttpClient& client, std::shared_ptr<QosParams> qos = seconds(20, 20)) {
    long status = -1;
    const int code = client.performSync(std::move(qos), &status);
    return {code, status, client.getResultData()};
}

Outcome get(const std::string& url) {
    HttpClient client;
    client.createGetRequest(url);
    return run(client);
}

std::string requestLine(const std::string& request) { return request.substr(0, request.find("\r\n")); }

bool holds(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

int create(HttpClient& client, HTTPMethod method, const std::string& url) {
    switch (method) {
        case HTTP_METHOD_GET:
            return client.createGetRequest(url);
        case HTTP_METHOD_POST:
            return client.createPostRequest(url);
        case HTTP_METHOD_PUT:
            return client.createPutRequest(url);
        case HTTP_METHOD_DELETE:
            return client.createDeleteRequest(url);
    }
    return -1;
}

}  // namespace

TEST(HttpClient, PutsTheFieldsWhereEachMethodWantsThem) {
    struct Row {
        const char* why;
        HTTPMethod method;
        const char* path;
        std::vector<std::pair<std::string, std::string>> fields;
        const char* line;
        const char* body;
    };
    const std::vector<std::pair<std::string, std::string>> two = {{"b", "2&="}, {"a", "x y"}, {"a", "later"}};
    const Row rows[] = {
        {"sorted, escaped, first value kept", HTTP_METHOD_GET, "/p", two, "GET /p?a=x%20y&b=2%26%3D HTTP/1.1",
         ""},
        {"no second question mark", HTTP_METHOD_GET, "/p?", two, "GET /p?a=x%20y&b=2%26%3D HTTP/1.1", ""},
        {"no fields, no question mark", HTTP_METHOD_GET, "/p", {}, "GET /p HTTP/1.1", ""},
        {"no fields, the caller's goes too", HTTP_METHOD_GET, "/p?", {}, "GET /p HTTP/1.1", ""},
        {"a key isn't escaped", HTTP_METHOD_GET, "/p", {{"k+%", "v"}}, "GET /p?k+%=v HTTP/1.1", ""},
        {"a value ends at its NUL",
         HTTP_METHOD_GET,
         "/p",
         {{"k", std::string("v\0w", 3)}},
         "GET /p?k=v HTTP/1.1",
         ""},
        {"a body", HTTP_METHOD_POST, "/p", two, "POST /p HTTP/1.1", "a=x%20y&b=2%26%3D"},
        {"an empty body", HTTP_METHOD_POST, "/p?", {}, "POST /p? HTTP/1.1", ""},
        {"a query too", HTTP_METHOD_PUT, "/p", two, "PUT /p?a=x%20y&b=2%26%3D HTTP/1.1", ""},
        {"a query too", HTTP_METHOD_DELETE, "/p", two, "DELETE /p?a=x%20y&b=2%26%3D HTTP/1.1", ""},
    };
    const RawHttpServer server(RawHttpServer::ok("done"));
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.line) + ": " + row.why);
        HttpClient client;
        EXPECT_EQ(0, create(client, row.method, server.url(row.path)));
        for (const auto& [key, value] : row.fields) {
            EXPECT_EQ(0, client.addParam(key, value));
        }
        const Outcome outcome = run(client);
        EXPECT_EQ(0, outcome.code);
        EXPECT_EQ(200, outcome.status);
        EXPECT_EQ("done", outcome.body);
        EXPECT_EQ(row.line, requestLine(server.lastRequest()));
        EXPECT_EQ(row.body, RawHttpServer::bodyOf(server.lastRequest()));
    }
}

TEST(HttpClient, SendsItsHeadersAndAsksForNoContinue) {
    const RawHttpServer server(RawHttpServer::ok(""));
    HttpClient client;
    client.createPostRequest(server.url());
    client.addParam("big", std::string(2 << 20, 'x'));  // from 1 MiB on libcurl would ask first
    EXPECT_EQ(0, client.addHeader("VLOX-Ext", "first"));
    EXPECT_EQ(0, client.addHeader("VLOX-Ext", "second"));
    EXPECT_EQ(0, run(client).code);
    const std::string request = server.lastRequest();
    EXPECT_TRUE(holds(request, "\r\nVLOX-Ext: first\r\n"));
    EXPECT_TRUE(holds(request, "\r\nContent-Type: application/x-www-form-urlencoded\r\n"));
    EXPECT_FALSE(holds(request, "Expect:"));
    EXPECT_FALSE(holds(request, "User-Agent:"));
    EXPECT_EQ((2U << 20) + 4, RawHttpServer::bodyOf(request).size());
}

TEST(HttpClient, RefusesEmptyKeysAndValues) {
    const vlox_test::LogCapture log;
    HttpClient client;
    EXPECT_EQ(-201, client.addParam("a", ""));
    EXPECT_EQ(-201, client.addParam("", "b"));
    EXPECT_EQ(-201, client.addHeader("c", ""));
    EXPECT_EQ(-201, client.addHeader("", "d"));
    EXPECT_TRUE(client.getParam().empty());
    EXPECT_TRUE(client.getHeader().empty());
    EXPECT_EQ(1, log.count("W", "key=a,value="));
    EXPECT_EQ(1, log.count("W", "headerKey=,headerValue=d"));
}

TEST(HttpClient, NoLineEndGetsIntoTheHead) {
    const RawHttpServer server(RawHttpServer::ok(""));
    HttpClient client;
    client.createGetRequest(server.url());
    EXPECT_EQ(-201, client.addHeader("a", "1\r\nForged: 1"));
    EXPECT_EQ(-201, client.addHeader("b", "1\nForged: 1"));
    EXPECT_EQ(-201, client.addHeader("c\r", "1"));
    EXPECT_EQ(-201, client.setHeader({{"d", "1"}, {"Forged: 1\r\ne", "1"}}));
    EXPECT_TRUE(client.getHeader().empty());
    for (const char* url : {"/\r\nForged: 1", "/\n", "/\x7f", "/\x01"}) {
        client.createGetRequest(server.url(url));
        EXPECT_EQ(-201, run(client).code);
    }
    EXPECT_TRUE(server.requests().empty());
}

TEST(HttpClient, RefusesABodyThatItCannotUse) {
    const struct {
        const char* why;
        std::string headers;
        std::string asked;
        int limit;
        int code;
        const char* logged;
    } rows[] = {
        {"as long as it may be", "", "", 4, 0, ""},
        {"longer", "", "", 3, -199, "the reply has more than the 3 bytes that it may have"},
        {"without a bound", "", "", 0, 0, ""},
        {"encoded unasked", "content-encoding: gzip\r\n", "", 99, -199,
         "nobody has asked for the reply's content encoding, gzip"},
        {"encoded as asked", "Content-Encoding: gzip\r\n", "gzip", 99, 0, ""},
        {"not encoded", "Content-Encoding: identity\r\n", "", 99, 0, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        const RawHttpServer server(RawHttpServer::reply("200 OK", row.headers, "text"));
        const vlox_test::LogCapture log;
        HttpClient client;
        client.createGetRequest(server.url());
        client.addHeader("accept-encoding", row.asked);
        client.setReplyLimit(row.limit);
        const Outcome outcome = run(client);
        EXPECT_EQ(row.code, outcome.code);
        EXPECT_EQ(row.code == 0 ? "text" : "", outcome.body);
        EXPECT_EQ(row.logged, client.getOutcome().curlText);
        EXPECT_EQ(row.code != 0, log.count("W", std::string("(") + row.logged + ")") == 1);
    }
}

TEST(HttpClient, JudgesTheStatus) {
    struct Row {
        const char* why;
        const char* status;
        const char* headers;
        int code;
        const char* body;
    };
    const Row rows[] = {
        {"success", "200 OK", "", 0, "text"},
        {"a body that came with a failure is dropped", "404 Not Found", "", -199, ""},
        {"other successes count as failures", "201 Created", "", -199, ""},
        {"a redirect that leads nowhere", "302 Found", "", 0, "text"},
        {"other redirects count as failures", "303 See Other", "", -199, ""},
        {"the platform's own redirect", "500 Oops", "Redirect: there\r\n", 0, "text"},
        {"a redirect without a value reads as a blank", "500 Oops", "Redirect:\r\n", 0, "text"},
        {"whose name is known in any case", "500 Oops", "redirect: there\r\n", 0, "text"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        const RawHttpServer server(RawHttpServer::reply(row.status, row.headers, "text"));
        const vlox_test::LogCapture log;
        HttpClient client;
        client.createGetRequest(server.url());
        const Outcome outcome = run(client);
        EXPECT_EQ(row.code, outcome.code);
        EXPECT_EQ(std::stol(row.status), outcome.status);
        EXPECT_EQ(row.body, outcome.body);
        EXPECT_EQ(outcome.status, client.getOutcome().status);
        EXPECT_EQ("127.0.0.1", client.getOutcome().address);
        EXPECT_EQ(row.code != 0,
                  log.count("W", ",status=" + std::to_string(outcome.status) + ",address=127.0.0.1,") == 1);
    }
}

TEST(HttpClient, FollowsARedirectAndKeepsTheFirstHopsHeaders) {
    const RawHttpServer server([](Poco::Net::StreamSocket& client, const std::string& request) {
        const bool first = holds(request, "GET /from");
        RawHttpServer::send(client,
                            first ? RawHttpServer::reply("302 Found", "Location: /to\r\nHop: 1\r\n", "moved")
                                  : RawHttpServer::reply("200 OK", "Hop: 2\r\nLast: yes\r\n", "there"));
    });
    HttpClient client;
    client.createGetRequest(server.url("/from"));
    EXPECT_EQ(0, run(client).code);
    EXPECT_EQ("there", client.getResultData());
    EXPECT_EQ("1", client.getResultHeaderByKey("Hop"));
    EXPECT_EQ("yes", client.getResultHeaderByKey("Last"));
}

TEST(HttpClient, TheLastReplyDecides) {
    const RawHttpServer server([](Poco::Net::StreamSocket& client, const std::string& request) {
        const bool first = holds(request, "GET /from");
        RawHttpServer::send(
            client, first ? RawHttpServer::reply("302 Found", "Location: /to\r\nRedirect: yes\r\n", "moved")
                          : RawHttpServer::reply("404 Not Found", "", "gone"));
    });
    HttpClient client;
    client.createGetRequest(server.url("/from"));
    EXPECT_EQ(-199, run(client).code);
    EXPECT_TRUE(client.isRedirect()) << "all replies' headers are told";
}

TEST(HttpClient, ReadsTheBodyUpToItsFirstNul) {
    EXPECT_EQ("before", get(RawHttpServer(RawHttpServer::ok(std::string("before\0after", 12))).url()).body);
    const std::string big(5 << 20, 'y');
    EXPECT_EQ(big, get(RawHttpServer(RawHttpServer::ok(big)).url()).body);
}

TEST(HttpClient, TurnsTransferFailuresIntoCodes) {
    Poco::Net::ServerSocket closed(Poco::Net::SocketAddress("127.0.0.1", 0));
    const std::string nobody = "http://127.0.0.1:" + std::to_string(closed.address().port()) + "/";
    closed.close();
    const RawHttpServer cutOff("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nshort");
    const RawHttpServer silent(std::string{});
    struct Row {
        const char* why;
        std::string url;
        int code;
    };
    const Row rows[] = {
        {"malformed", "http://[::", -803},
        {"empty", "", -803},
        {"unknown host", "http://no-such-host.invalid/", -806},
        {"nobody listens", nobody, -807},
        {"another protocol", "ftp" + cutOff.url().substr(4), -199},
        {"cut off in the body", cutOff.url(), -199},
        {"no reply at all", silent.url(), -199},
        {"a scheme that nobody speaks", "gibberish://127.0.0.1/", -199},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        const Outcome outcome = get(row.url);
        EXPECT_EQ(row.code, outcome.code);
        EXPECT_EQ("", outcome.body);
    }
}

TEST(HttpClient, GivesUpAtTheTimeLimit) {
    const RawHttpServer server([](auto& client, const std::string&) { RawHttpServer::stall(client); });
    const vlox_test::LogCapture log;
    HttpClient client;
    client.createGetRequest(server.url());
    EXPECT_EQ(-828, run(client, seconds(1, 10)).code);
    EXPECT_EQ(1, log.count("W", "curl error result = 28, error info = "));
}

TEST(HttpClient, WorksWithoutLimitsAndWithoutAStatusToFill) {
    const RawHttpServer server(RawHttpServer::ok("x"));
    for (const auto& qos : {std::shared_ptr<QosParams>(), seconds(0, 0), seconds(-3, -3)}) {
        HttpClient client;
        client.createGetRequest(server.url());
        EXPECT_EQ(0, client.performSync(qos, nullptr));
    }
}

TEST(HttpClient, WithoutPreparationNothingIsSent) {
    const RawHttpServer server(RawHttpServer::ok("x"));
    HttpClient client;
    client.createGetRequest(server.url());
    long status = -1;
    EXPECT_EQ(-199, client.httpPerform(&status));
    EXPECT_EQ(0, status);
    EXPECT_TRUE(server.requests().empty());
}

TEST(HttpClient, HeedsTheProxyOfTheEnvironment) {
    Poco::Environment::set("http_proxy", "http://no-such-proxy.invalid:3128");
    EXPECT_EQ(-805, get("http://somewhere.invalid/").code);
    Poco::Environment::set("http_proxy", "");

    const RawHttpServer proxy(std::string("HTTP/1.1 200 OK\r\nFrom-Proxy: 1\r\n\r\n"));
    Poco::Environment::set("https_proxy", proxy.url());
    HttpClient client;
    client.createGetRequest("https://somewhere.invalid/");
    EXPECT_EQ(-199, run(client).code);
    EXPECT_TRUE(client.getResultHeader().empty()) << "what the proxy says is not the server's";
    Poco::Environment::set("https_proxy", "");
}

TEST(HttpClient, SurvivesHostileReplies) {
    const std::string mega(1 << 20, 'h');
    std::string many = "HTTP/1.1 200 OK\r\n";
    for (int i = 0; i < 20000; ++i) {
        many += "N" + std::to_string(i) + ": v\r\n";
    }
    struct Row {
        const char* why;
        std::string bytes;
    };
    const Row rows[] = {
        {"a header of a megabyte", "HTTP/1.1 200 OK\r\nBig: " + mega + "\r\n\r\nbody"},
        {"a name of a megabyte", "HTTP/1.1 200 OK\r\n" + mega + "\r\n\r\nbody"},
        {"a status line of a megabyte", "HTTP/1.1 200 " + mega + "\r\n\r\nbody"},
        {"no colons", "HTTP/1.1 200 OK\r\nnothing here\r\nnor here\r\n\r\nbody"},
        {"only blanks", "HTTP/1.1 200 OK\r\n      \r\n \t \r\n\r\nbody"},
        {"only colons", "HTTP/1.1 200 OK\r\n:::::\r\n : \r\n\r\nbody"},
        {"NULs", std::string("HTTP/1.1 200 OK\r\nA\0B: \0c\0\r\n\0\0\0\r\n\r\nbody", 38)},
        {"no end of the head", "HTTP/1.1 200 OK\r\nA: b"},
        {"many headers", many + "\r\nbody"},
        {"no HTTP at all", mega},
        {"one byte", "H"},
        {"a negative length", "HTTP/1.1 200 OK\r\nContent-Length: -5\r\n\r\nbody"},
        {"an absurd length", "HTTP/1.1 200 OK\r\nContent-Length: 99999999999999999999999\r\n\r\nbody"},
        {"broken chunks", "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nZZZZ\r\nbody"},
        {"a range of nonsense", "HTTP/1.1 200 OK\r\nContent-Range: b\r\n\r\nbody"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        const RawHttpServer server(row.bytes);
        HttpClient client;
        client.createGetRequest(server.url());
        const Outcome outcome = run(client);
        EXPECT_TRUE(outcome.code == 0 || outcome.code == -199) << outcome.code;
        EXPECT_TRUE(outcome.body.empty() || (outcome.code == 0 && outcome.body == "body")) << outcome.body;
        EXPECT_EQ(0, client.getContentRange());
    }
}

TEST(HttpClient, ReadsHeaderLines) {
    struct Row {
        const char* why;
        std::string line;
        std::map<std::string, std::string> headers;
    };
    const Row rows[] = {
        {"usual", "Name: value\r\n", {{"Name", "value"}}},
        {"blanks around the name, ahead of the value", " \tName \t: \t value \r\n", {{"Name", "value "}}},
        {"a value may hold colons", "A:b:c\r\n", {{"A", "b:c"}}},
        {"no value reads as a blank", "A:\r\n", {{"A", " "}}},
        {"blanks alone are no value", "A: \t \r\n", {{"A", " "}}},
        {"cut at the first line end", "A: b\rC: d\n", {{"A", "b"}}},
        {"line ends ahead", "\r\n\r\nA: b\r\n", {{"A", "b"}}},
        {"no name", ": b\r\n", {{"", "b"}}},
        {"a NUL is a byte like others", std::string("A\0B: c\r\n", 8), {{std::string("A\0B", 3), "c"}}},
        {"the status line", "HTTP/1.1 200 OK\r\n", {}},
        {"the end of the head", "\r\n", {}},
        {"too short for a header", "A:", {}},
        {"nothing", "", {}},
        {"blanks alone", "    ", {}},
        {"one colon behind blanks", "   :", {{"", " "}}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        std::map<std::string, std::string> headers;
        // A copy of exactly this size, so that a sanitizer sees any step beyond it.
        const std::vector<char> bytes(row.line.begin(), row.line.end());
        insertHeaderLine({bytes.data(), bytes.size()}, headers);
        EXPECT_EQ(row.headers, headers);
    }
    std::map<std::string, std::string> headers = {{"A", "first"}};
    insertHeaderLine("A: second\r\n", headers);
    EXPECT_EQ("first", headers["A"]);
}

TEST(ReplyHeaders, TheLastHeadIsReadWhole) {
    ReplyHeaders headers;
    for (const char* line :
         {"HTTP/1.1 103 Early Hints\r\n", "Early: 1\r\n", "\r\n", "HTTP/1.1 302 Found\r\n", "a: first\r\n",
          "\r\n", "HTTP/1.1 206 Partial Content\r\n", "A: last\r\n", "Folded: one,\r\n", "\t two:2\r\n",
          " three\r\n", "a: later\r\n", "Empty:\r\n", "\r\n", "Trailer: 1\r\n", "A: trailed\r\n", "\r\n"}) {
        headers.take(line);
    }
    EXPECT_EQ(206, headers.status());
    EXPECT_EQ("last", headers.last("a"));
    EXPECT_EQ("one, two:2 three", headers.last("FOLDED"));
    EXPECT_EQ(" ", headers.last("Empty"));
    EXPECT_EQ("", headers.last("Early"));
    EXPECT_EQ("", headers.last("Trailer"));
    const std::map<std::string, std::string> all = {{"A", "last"},      {"Early", "1"}, {"Empty", " "},
                                                    {"Folded", "one,"}, {"a", "first"}, {"two", "2 three"},
                                                    {"Trailer", "1"}};
    EXPECT_EQ(all, headers.all);
}

TEST(HttpClient, ReadsTheStartOfAContentRange) {
    struct Row {
        const char* value;
        long long start;
    };
    const Row rows[] = {{"bytes 4096-8191/10000", 4096},
                        {"bytes 6442450944-", 6442450944},
                        {"bytes 0-1/2", 0},
                        {"bytes */100", 0},
                        {"bytes ", 0},
                        {"b", 0},
                        {"", 0},
                        {"bytes 99999999999999999999-", 0}};
    for (const Row& row : rows) {
        EXPECT_EQ(row.start, startOfContentRange(row.value)) << row.value;
    }
    HttpClient client;
    client.setResultHeader({{"Content-Range", "bytes 7-9/10"}, {"Content-Type", "text/plain"}});
    EXPECT_EQ(7, client.getContentRange());
    client.setResultHeader({});
    EXPECT_EQ(7, client.getContentRange()) << "kept once it isn't 0";
    EXPECT_EQ("", client.getResultHeaderByKey(""));
    EXPECT_EQ("", client.getContentType());
}

TEST(HttpClient, CopiesShareTheHandleSafely) {
    const RawHttpServer server(RawHttpServer::ok("x"));
    HttpClient copy;
    {
        HttpClient original;
        original.createPostRequest(server.url());
        original.addParam("a", "1");
        original.addHeader("H", "1");
        EXPECT_EQ(0, run(original).code);
        copy = original;
        original.setHeader({});
        EXPECT_EQ(0, run(original).code);
        EXPECT_FALSE(holds(server.lastRequest(), "H: 1"));
    }
    EXPECT_EQ(0, copy.httpPerform(nullptr)) << "with the header list as it stood";
    EXPECT_TRUE(holds(server.lastRequest(), "H: 1"));
    HttpClient second(copy);
    EXPECT_EQ(copy.getCurlHandle(), second.getCurlHandle());
    second.createGetRequest(server.url("/next"));
    EXPECT_EQ(0, run(second).code);
    EXPECT_EQ("GET /next?a=1 HTTP/1.1", requestLine(server.lastRequest())) << "nothing is left of the POST";
    EXPECT_EQ("", RawHttpServer::bodyOf(server.lastRequest()));
    for (const HTTPMethod method : {HTTP_METHOD_PUT, HTTP_METHOD_DELETE, HTTP_METHOD_PUT, HTTP_METHOD_GET}) {
        const char* const verbs[] = {"GET /v?a=1 ", "POST /v ", "PUT /v?a=1 ", "DELETE /v?a=1 "};
        create(second, method, server.url("/v"));
        EXPECT_EQ(0, run(second).code);
        EXPECT_EQ(0U, server.lastRequest().find(verbs[method])) << requestLine(server.lastRequest());
    }
}

TEST(HttpClient, ExchangesRunInParallel) {
    const RawHttpServer server(RawHttpServer::ok("x"));
    std::vector<std::thread> threads;
    std::atomic<int> good{0};
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int j = 0; j < 10; ++j) {
                good += get(server.url()).code == 0;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(40, good);
}

TEST(TransferData, TheArgumentsDecideTheKind) {
    const ReceivedData text(16, DATA_TYPE_FILE);
    EXPECT_EQ(DATA_TYPE_STRING, text.getType());
    EXPECT_EQ("", *static_cast<std::string*>(text.getData()));
    const ReceivedData other(DATA_TYPE_STRING);
    EXPECT_EQ(DATA_TYPE_PRIVATE, other.getType());
    EXPECT_EQ(nullptr, other.getData());
    SendData sent(std::string("copy"), DATA_TYPE_PRIVATE);
    EXPECT_EQ(DATA_TYPE_STRING, sent.getType());
    EXPECT_EQ("copy", *static_cast<std::string*>(sent.getData()));
    sent.clearData();
    EXPECT_EQ(nullptr, sent.getData());
}
