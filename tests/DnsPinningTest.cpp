#include <Poco/Net/ServerSocket.h>
#include <Poco/Net/StreamSocket.h>
#include <Poco/Timespan.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <future>
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
    ~DnsPinningTest() override { network(true); }

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
    EXPECT_THAT(hello.get(), HasSubstr("secure.invalid"));
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

TEST_F(DnsPinningTest, WhatIsNoUrlFailsAsOne) {
    EXPECT_EQ(-803, get("", 80));
    EXPECT_GT(0, get(std::string(10000, 'n'), 80));
    EXPECT_GT(0, get("o'brien\".invalid", 80));
    HttpClient client;
    client.createGetRequest("");
    EXPECT_EQ(-803, client.performSync(nullptr, nullptr));
}
