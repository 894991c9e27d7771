#include <Poco/Environment.h>
#include <Poco/Net/ServerSocket.h>
#include <Poco/Net/StreamSocket.h>
#include <Poco/Timespan.h>
#include <curl/curl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <map>
#include <memory>
#include <string>

#include "support/LogCapture.h"
#include "support/RawHttpServer.h"
#include "support/ResolverFixture.h"
#include "vloxlib/dnscache/DNSCache.h"
#include "vloxlib/http/HttpClient.h"
#include "vloxlib/network/NetworkMonitor.h"

using namespace vloxlib;
using testing::HasSubstr;
using vlox_test::RawHttpServer;

namespace {

// Nobody listens here on the port of a server that is bound to 127.0.0.1.
constexpr char kDead[] = "127.0.0.2";
constexpr char kLive[] = "127.0.0.1";

// Exchanges with names that only the cache file knows; each test has names of its own, since choices stick.
class DnsPinningTest : public testing::Test {
protected:
    DnsPinningTest() { DNSCache::getInstance()->init(file.directory()); }
    ~DnsPinningTest() override {
        network(true);
        DNSCache::getInstance()->useAllAddresses(false);
    }

    static void network(bool there) {
        NetworkMonitor::getInstance()->notifyNetworkStatusChanged(there ? R"({"networkType":1})"
                                                                        : R"({"networkType":0})");
    }
    int get(const std::string& host, int port, const std::string& scheme = "http") {
        HttpClient client;
        client.createGetRequest(scheme + "://" + host + ":" + std::to_string(port) + "/path");
        return client.performSync(nullptr, nullptr);
    }

    vlox_test::CacheFile file;
};

}  // namespace

TEST_F(DnsPinningTest, AStoredNameIsReachedAtItsAddressUnderItsName) {
    file.know("stored.invalid", kLive);
    const RawHttpServer server(RawHttpServer::ok("body"));
    EXPECT_EQ(0, get("stored.invalid", server.port()));
    EXPECT_THAT(server.lastRequest(),
                HasSubstr("\r\nHost: stored.invalid:" + std::to_string(server.port()) + "\r\n"));
    EXPECT_EQ(1, file.rows("ip_t"));
}

TEST_F(DnsPinningTest, TlsHearsTheName) {
    file.know("secure.invalid", kLive);
    const Poco::Net::ServerSocket socket(Poco::Net::SocketAddress("127.0.0.1", 0));
    auto hello = std::async(std::launch::async, [server = socket]() mutable -> std::string {
        if (!server.poll(Poco::Timespan(30, 0), Poco::Net::Socket::SELECT_READ)) {
            return "nobody has come";
        }
        Poco::Net::StreamSocket client = server.acceptConnection();
        client.setReceiveTimeout(Poco::Timespan(30, 0));
        char bytes[4096];
        const int count = client.receiveBytes(bytes, sizeof bytes);
        return {bytes, static_cast<std::size_t>(std::max(count, 0))};
    });
    EXPECT_NE(0, get("secure.invalid", socket.address().port(), "https"));
    const std::string said = hello.get();
    EXPECT_THAT(said, HasSubstr("secure.invalid"));
    EXPECT_THAT(said, testing::Not(HasSubstr("\x02h2"))) << "HTTP/2 isn't offered";
}

TEST_F(DnsPinningTest, AFailureIsHeldAgainstTheAddressOnlyWithANetwork) {
    const RawHttpServer server(RawHttpServer::reply("404 Not Found", "", ""));
    const struct {
        const char* why;
        const char* host;
        const char* ip;
        int code;
    } rows[] = {
        {"nobody there", "gone.invalid", kDead, -807},
        {"somebody else there", "other.invalid", kLive, -199},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        file.know(row.host, row.ip);
        network(false);
        EXPECT_EQ(row.code, get(row.host, server.port()));
        EXPECT_EQ(1, file.rows("ip_t"));
        network(true);
        EXPECT_EQ(row.code, get(row.host, server.port()));
        EXPECT_EQ(0, file.rows("ip_t"));
        EXPECT_EQ(0, file.rows("domain_t"));
        EXPECT_EQ(-806, get(row.host, server.port()))
            << "the system's resolver is asked, which knows no such name";
    }
}

TEST_F(DnsPinningTest, WhatNeedsNoResolveAsksForNone) {
    const vlox_test::LogCapture log;
    const RawHttpServer server(RawHttpServer::ok("body"));
    EXPECT_EQ(0, get(kLive, server.port()));
    EXPECT_EQ(0, log.count("DNSCache"));
    EXPECT_EQ(-806, get("nowhere.invalid", server.port()));
    EXPECT_EQ(1, log.count("I", "ip get from DNSCache is empty"));
    file.know("known.invalid", kLive);
    EXPECT_EQ(0, get("known.invalid", server.port()));
    EXPECT_EQ(1, log.count("I", "ip get from DNSCache is 127.0.0.1"));
}

TEST_F(DnsPinningTest, OfSeveralAddressesTheOneThatFailsIsToBlame) {
    DNSCache::getInstance()->useAllAddresses(true);
    file.know("two.invalid", kDead, 0, 100);
    file.know("two.invalid", kLive, 0, 200);
    const auto failures = [this](const std::string& ip) {
        return file.number("SELECT errNum FROM ip_t WHERE ip = '" + ip + "'");
    };
    const std::string replies[] = {RawHttpServer::ok("body"), RawHttpServer::ok("body"),
                                   RawHttpServer::reply("404 Not Found", "", ""),
                                   RawHttpServer::reply("200 OK", "Content-Encoding: gzip\r\n", "x"),
                                   RawHttpServer::reply("503 Service Unavailable", "", "")};
    const std::string* next = replies;  // the server's thread alone looks at it
    const RawHttpServer server(
        [&](Poco::Net::StreamSocket& client, const std::string&) { RawHttpServer::send(client, *next++); });
    for (int exchange = 1; exchange <= 2; ++exchange) {
        EXPECT_EQ(0, get("two.invalid", server.port()));
        EXPECT_EQ(1, failures(kDead)) << "it is tried once";
        EXPECT_EQ(0, failures(kLive));
    }
    for (int answer = 1; answer <= 2; ++answer) {
        EXPECT_EQ(-199, get("two.invalid", server.port()));
        EXPECT_EQ(0, failures(kLive)) << "an answer is no failure of the address";
    }
    EXPECT_EQ(-199, get("two.invalid", server.port()));
    EXPECT_EQ(0, file.rows("ip_t")) << "no address is left";
    EXPECT_EQ(5U, server.requests().size());
}

// What libcurl does is seen at the server, which is proxy and target in one.
TEST_F(DnsPinningTest, NobodyIsLookedUpForAProxy) {
    const RawHttpServer server(RawHttpServer::ok("body"));
    const std::string proxy = server.url("");
    const std::map<std::string, std::string> rows[] = {
        {},
        {{"http_proxy", proxy}},
        {{"HTTP_PROXY", proxy}},
        {{"https_proxy", proxy}},
        {{"all_proxy", proxy}},
        {{"ALL_PROXY", proxy}},
        {{"http_proxy", proxy}, {"no_proxy", "*"}},
        {{"http_proxy", proxy}, {"no_proxy", "*,other.invalid"}},
        {{"http_proxy", proxy}, {"no_proxy", "other.invalid, named.INVALID"}},
        {{"http_proxy", proxy}, {"NO_PROXY", "other.invalid\tnamed.invalid."}},
        {{"http_proxy", proxy}, {"no_proxy", ".named.invalid,"}},
        {{"http_proxy", proxy}, {"no_proxy", "amed.invalid,www.named.invalid,,."}},
        {{"http_proxy", proxy}, {"no_proxy", "invalid"}},
    };
    int proxied = 0;
    file.know("named.invalid", kLive);
    file.know("below.named.invalid", kLive);
    for (const auto& environment : rows) {
        for (const auto& [name, value] : environment) {
            Poco::Environment::set(name, value);
        }
        for (const char* host : {"named.invalid", "below.named.invalid"}) {
            SCOPED_TRACE(testing::PrintToString(environment) + " " + host);
            const vlox_test::LogCapture log;
            EXPECT_EQ(0, get(host, server.port()));
            const bool byProxy = server.lastRequest().rfind("GET http://", 0) == 0;
            proxied += byProxy;
            EXPECT_EQ(byProxy ? 0 : 1, log.count("I", "ip get from DNSCache"));
        }
        for (const auto& [name, value] : environment) {
            Poco::Environment::set(name, "");
        }
    }
    EXPECT_LT(0, proxied);
}

TEST_F(DnsPinningTest, AnInternationalNameNeedsNoLocale) {
    file.know("xn--bcher-kva.invalid", kLive);
    const RawHttpServer server(RawHttpServer::ok("body"));
    EXPECT_EQ(0, get("B\303\274cher.invalid", server.port()));
    EXPECT_EQ(0, get("user:b\303\274@b\303\274cher.invalid", server.port()));
    EXPECT_THAT(server.lastRequest(), HasSubstr("\r\nHost: xn--bcher-kva.invalid:"));
    // No UTF-8: a libcurl that converts names refuses it, another one doesn't find it.
    const bool converts = (curl_version_info(CURLVERSION_NOW)->features & CURL_VERSION_IDN) != 0;
    EXPECT_EQ(converts ? -803 : -806, get("b\303cher.invalid", server.port()));
}

// The walk for "localhost" stands still in its log line until both exchanges have ended.
TEST_F(DnsPinningTest, ALookUpEndsWithItsExchange) {
    static std::promise<void> begun;
    static std::promise<void> letGo;
    static std::once_flag once;
    DNSCacheLog::getInstance()->setTraceCallback([](DNSCache_TRACE_LEVELS, const char*) {
        std::call_once(once, [] {
            begun.set_value();
            letGo.get_future().wait();
        });
    });
    const RawHttpServer server(RawHttpServer::ok("body"));
    const std::string url = "http://localhost:" + std::to_string(server.port()) + "/";
    HttpClient cancelled;
    cancelled.createGetRequest(url);
    cancelled.setDownloadFile(file.dir().path("download"), 0, 0);
    auto download = std::async(std::launch::async, [&] { return cancelled.performSync(nullptr, nullptr); });
    begun.get_future().wait();
    HttpClient limited;
    limited.createGetRequest(url);
    const auto limits = std::make_shared<QosParams>();
    limits->timeout = 1;
    EXPECT_EQ(-828, limited.performSync(limits, nullptr));
    EXPECT_EQ(0, cancelled.httpCancel());
    EXPECT_EQ(-109, download.get());
    EXPECT_TRUE(server.requests().empty());
    letGo.set_value();
    EXPECT_EQ(kLive, DNSCache::getInstance()->getIpByDomain("localhost"));
    DNSCacheLog::getInstance()->setTraceCallback(nullptr);
    DNSCache::getInstance()->notifyFailureIpByDomain("localhost", kLive, 0);
}

TEST_F(DnsPinningTest, WhatIsNoUrlFailsAsOne) {
    EXPECT_EQ(-803, get("", 80));
    EXPECT_GT(0, get(std::string(10000, 'n'), 80));
    EXPECT_GT(0, get("o'brien\".invalid", 80));
    HttpClient client;
    client.createGetRequest("");
    EXPECT_EQ(-803, client.performSync(nullptr, nullptr));
    const vlox_test::LogCapture log;
    client.createGetRequest("http://user:secret@[::/path?token=secret#secret");
    EXPECT_EQ(-803, client.performSync(nullptr, nullptr));
    EXPECT_EQ(1, log.count("E", " uri: http://[::/path is not valid"));
    EXPECT_EQ(0, log.count("secret"));
}
