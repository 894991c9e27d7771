#include "vloxlib/http/ServerAddrManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <map>
#include <memory>
#include <string>

#include "support/DataDir.h"
#include "support/RawHttpServer.h"
#include "vloxlib/ConfigManager.h"
#include "vloxlib/encrypt/Base64.h"
#include "vloxlib/encrypt/EncryptBridge.h"
#include "vloxlib/http/HttpHelper.h"

using namespace vloxlib;
using vlox_test::RawHttpServer;

namespace {

constexpr char kVloxId[] = "someone";
// Nobody listens here on the port of a server that is bound to 127.0.0.1.
constexpr char kDead[] = "127.0.0.2";
constexpr char kLive[] = "127.0.0.1";

std::string replyWith(const std::string& services) {
    return RawHttpServer::ok(R"({"code":"0","data":")" + Base64::encode(services) + "\"}");
}

class ServerAddrTest : public testing::Test {
protected:
    ServerAddrTest() {
        config->setConfig(CONFIG_ENCRYPT_POLICY, 0);
        config->setConfig(CONFIG_SYM_ENCRYPT_TYPE, 0);
        config->setConfig(CONFIG_ENCRYPT_PUBKEY, "none");
        bridge->initial();
    }
    ~ServerAddrTest() override {
        ServerAddrManager::releaseInstance(kVloxId);
        HttpHelper::releaseInstance(kVloxId);
    }

    int query(const RawHttpServer& server, const std::string& host = kLive, const std::string& other = "") {
        config->setConfig(CONFIG_AS_HOST, host);
        config->setConfig(CONFIG_AS_HOST_ALTERNATE, other);
        config->setConfig(CONFIG_AS_PORT, server.port());
        return manager->queryServerAddress();
    }
    std::string text(_ConfigKey key) const { return config->getConfig(key, std::string("absent")); }

    const vlox_test::DataDir dataDir;
    std::shared_ptr<ConfigManager> config = ConfigManager::getInstance(kVloxId);
    std::shared_ptr<EncryptBridge> bridge = EncryptBridge::getInstance(kVloxId);
    std::shared_ptr<ServerAddrManager> manager = ServerAddrManager::getInstance(UserInfo("app", kVloxId));
};

}  // namespace

TEST_F(ServerAddrTest, WritesTheFirstServerOfEachKind) {
    const RawHttpServer server(replyWith(R"([
        {"type":"UNKNOWN","serverList":[{"serverAddr":"u","port":1}]},
        {"type":"PCS","serverList":[{"serverAddr":"pcs","port":11,"httpsPort":12},{"serverAddr":"x","port":0}]},
        {"type":"FS","serverList":[{"serverAddr":"fs","port":21,"httpsPort":22}]},
        {"type":"CDS","serverList":[{"serverAddr":"cds","port":31}]},
        {"type":"TOPIC","serverList":[{"serverAddr":"topic","port":41}]},
        {"type":"BLS","serverList":[{"serverAddr":"bls","port":51}]},
        {"type":"FPS","serverList":[{"serverAddr":"fps","port":61}]},
        {"type":"VOIP","serverList":[{"serverAddr":"voip","port":71}]}])"));
    ASSERT_EQ(0, query(server));
    const std::map<_ConfigKey, std::string> expected = {
        {CONFIG_PCS_HOST, "pcs"},   {CONFIG_PCS_PORT, "11"},  {CONFIG_FS_HOST, "fs"},
        {CONFIG_FS_PORT, "21"},     {CONFIG_CDS_HOST, "cds"}, {CONFIG_CDS_PORT, "31"},
        {CONFIG_BLS_HOST, "bls"},   {CONFIG_BLS_PORT, "51"},  {CONFIG_TOPIC_HOST, "topic"},
        {CONFIG_TOPIC_PORT, "41"},  {CONFIG_FPS_HOST, "fps"}, {CONFIG_FPS_PORT, "61"},
        {CONFIG_VOIP_HOST, "voip"}, {CONFIG_VOIP_PORT, "71"}, {CONFIG_AS_HOST, kLive}};
    for (const auto& [key, value] : expected) {
        EXPECT_EQ(value, text(key)) << key;
    }
}

TEST_F(ServerAddrTest, AsksOnceUntilTheAddressesAreGivenUp) {
    const RawHttpServer server(replyWith("[]"));
    EXPECT_EQ(0, query(server));
    EXPECT_EQ(0, query(server));
    EXPECT_EQ(1U, server.requests().size());
    EXPECT_TRUE(manager->isServerAddrExist(0));
    EXPECT_THAT(server.lastRequest(), testing::StartsWith("GET /vlox/server/address/query?params="));
    manager->setServerAddrEmpty();
    EXPECT_FALSE(manager->isServerAddrExist(0));
    config->setConfig(CONFIG_URL_SERVICE_PREFIX, 0);
    EXPECT_EQ(0, query(server));
    EXPECT_EQ(2U, server.requests().size());
    EXPECT_THAT(server.lastRequest(), testing::StartsWith("GET /server/address/query?params="));
}

TEST_F(ServerAddrTest, ThePortIsThatOfTheProtocol) {
    const struct {
        const char* why;
        int https;
        const char* protocol;
        const char* fs;
        const char* pcs;
    } rows[] = {
        {"plain", 0, nullptr, "1", "1"},
        {"TLS, and the messages over TCP by default", 1, nullptr, "2", "1"},
        {"TLS, and the messages over something else", 1, "tls", "2", "2"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        // The mode changes while the plain exchange is under way: it is read with the reply.
        const RawHttpServer server([&](Poco::Net::StreamSocket& client, const std::string&) {
            config->setConfig(CONFIG_WEB_REQUEST_MODE, row.https);
            RawHttpServer::send(client, replyWith(R"([
                {"type":"FS","serverList":[{"serverAddr":"fs","port":1,"httpsPort":2}]},
                {"type":"PCS","serverList":[{"serverAddr":"pcs","port":1,"httpsPort":2}]}])"));
        });
        if (row.protocol != nullptr) {
            config->setConfig(CONFIG_SERVER_PROTOCOL, row.protocol);
        }
        config->setConfig(CONFIG_WEB_REQUEST_MODE, 0);
        manager->setServerAddrEmpty();
        EXPECT_EQ(0, query(server));
        EXPECT_EQ(row.fs, text(CONFIG_FS_PORT));
        EXPECT_EQ(row.pcs, text(CONFIG_PCS_PORT));
    }
}

TEST_F(ServerAddrTest, ABadElementDropsTheRest) {
    const struct {
        const char* why;
        const char* element;
        bool stops;
    } rows[] = {
        {"no object", "7", true},
        {"no kind", R"({"serverList":[{"serverAddr":"h"}]})", true},
        {"a kind that is no text", R"({"type":7,"serverList":[{"serverAddr":"h"}]})", true},
        {"no list", R"({"type":"FS"})", true},
        {"a list of another type", R"({"type":"FS","serverList":{}})", true},
        {"an empty list", R"({"type":"FS","serverList":[]})", true},
        {"an unknown kind without a list", R"({"type":"?"})", true},
        {"a server that is no object", R"({"type":"FS","serverList":[null]})", false},
        {"an address that is no text", R"({"type":"FS","serverList":[{"serverAddr":7,"port":8}]})", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        for (const _ConfigKey key : {CONFIG_CDS_HOST, CONFIG_FS_HOST, CONFIG_BLS_HOST}) {
            config->setConfig(key, "old");
        }
        manager->setServerAddrEmpty();
        EXPECT_EQ(0, query(RawHttpServer(
                         replyWith(R"([{"type":"CDS","serverList":[{"serverAddr":"new","port":1}]},)" +
                                   std::string(row.element) +
                                   R"(,{"type":"BLS","serverList":[{"serverAddr":"new","port":1}]}])"))));
        EXPECT_EQ("new", text(CONFIG_CDS_HOST));
        EXPECT_EQ("old", text(CONFIG_FS_HOST));
        EXPECT_EQ(row.stops ? "old" : "new", text(CONFIG_BLS_HOST));
    }
}

TEST_F(ServerAddrTest, APortThatIsNoNumberIsWrittenAsNone) {
    config->setConfig(CONFIG_FS_PORT, "old");
    EXPECT_EQ(
        0,
        query(RawHttpServer(replyWith(R"([{"type":"FS","serverList":[{"serverAddr":"fs","port":"80"}]}])"))));
    EXPECT_EQ("fs", text(CONFIG_FS_HOST));
    EXPECT_EQ("", text(CONFIG_FS_PORT));
}

TEST_F(ServerAddrTest, TheSecondAddressIsAskedWhenTheFirstFails) {
    const std::string good = replyWith(R"([{"type":"FS","serverList":[{"serverAddr":"fs","port":1}]}])");
    const std::string refused = RawHttpServer::ok(R"({"code":"15001"})");
    const struct {
        const char* why;
        const char* primary;
        const char* alternate;
        std::string reply;
        int code;
        std::size_t requests;
    } rows[] = {
        {"nothing configured", "", "", good, -201, 0},
        {"only the second", "", kLive, good, 0, 1},
        {"a dead first", kDead, kLive, good, 0, 1},
        {"a dead first without a second", kDead, "", good, -807, 0},
        {"both dead", kDead, kDead, good, -807, 0},
        {"a first that refuses, and a dead second", kLive, kDead, refused, -807, 1},
        {"data of another shape", kLive, kLive, replyWith("{}"), -199, 2},
        {"no data", kLive, "", RawHttpServer::ok(R"({"code":"0"})"), -199, 1},
        {"no JSON", kLive, "", RawHttpServer::ok("<html>"), -112, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        const RawHttpServer server(row.reply);
        manager->setServerAddrEmpty();
        config->setConfig(CONFIG_FS_HOST, "old");
        EXPECT_EQ(row.code, query(server, row.primary, row.alternate));
        EXPECT_EQ(row.requests, server.requests().size());
        EXPECT_EQ(row.code == 0 ? "fs" : "old", text(CONFIG_FS_HOST));
        EXPECT_EQ(row.code == 0, manager->isServerAddrExist(0));
    }
}

TEST_F(ServerAddrTest, SwapsTheTwoAddressesInAHost) {
    const struct {
        const char* why;
        const char* primary;
        const char* alternate;
        const char* url;
        const char* swapped;  // null: nothing to swap
        const char* kept;     // under the key of "FS"
    } rows[] = {
        {"the primary", "one.test", "two.test", "https://one.test:8/p?q=one.test",
         "https://two.test:8/p?q=one.test", "two.test"},
        {"and back", "one.test", "two.test", "https://two.test:8/p", "https://one.test:8/p", "one.test"},
        {"a part of a service's host", "one.test", "two.test", "http://fs.one.test/p", "http://fs.two.test/p",
         "fs.two.test"},
        {"a primary inside the alternate", "as.test", "b.as.test", "http://b.as.test/p", "http://as.test/p",
         "as.test"},
        {"an alternate inside the primary", "b.as.test", "as.test", "http://b.as.test/p", "http://as.test/p",
         "as.test"},
        {"both, of one length", "a.test", "b.test", "http://a.test.b.test/p", nullptr, "old"},
        {"neither", "one.test", "two.test", "http://three.test/p", nullptr, "old"},
        {"no alternate", "one.test", "", "http://one.test/p", nullptr, "old"},
        {"no URL", "one.test", "two.test", "http://one.test:port/", nullptr, "old"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        config->setConfig(CONFIG_AS_HOST, row.primary);
        config->setConfig(CONFIG_AS_HOST_ALTERNATE, row.alternate);
        for (const _ConfigKey key : {CONFIG_FS_HOST, CONFIG_AS_HOST}) {
            config->setConfig(CONFIG_FS_HOST, "old");
            std::string url = row.url;
            EXPECT_EQ(row.swapped != nullptr, manager->replaceServerAddress(key, url));
            EXPECT_EQ(row.swapped != nullptr ? row.swapped : row.url, url);
            EXPECT_EQ(key == CONFIG_FS_HOST ? row.kept : "old", text(CONFIG_FS_HOST));
            EXPECT_EQ(row.primary, text(CONFIG_AS_HOST)) << "never overwritten";
        }
    }
    config->setConfig(CONFIG_AS_HOST_ALTERNATE, "two.test");
    config->setConfig(CONFIG_CDS_HOST, "cds.one.test");
    EXPECT_TRUE(manager->replaceServerAddressOfConfig(CONFIG_CDS_HOST, CONFIG_FS_HOST, "unused"));
    EXPECT_EQ("cds.two.test", text(CONFIG_CDS_HOST));
}

TEST_F(ServerAddrTest, WaitersHearOfTheAddresses) {
    EXPECT_FALSE(manager->isServerAddrExist(0));
    // Stands where a waiter is known to have been woken, however long it took to fall asleep.
    const auto wakeUntilDone = [](std::future<bool>& waiter, const auto& wake) {
        while (waiter.wait_for(std::chrono::milliseconds(5)) != std::future_status::ready) {
            wake();
        }
        return waiter.get();
    };
    auto stopped = std::async(std::launch::async, [this] { return manager->isServerAddrExist(60); });
    EXPECT_TRUE(wakeUntilDone(stopped, [this] { manager->stopServerAddrExistWait(); }))
        << "a wake-up counts, though there are no addresses";
    EXPECT_FALSE(manager->isServerAddrExist(0));

    auto told = std::async(std::launch::async, [this] { return manager->isServerAddrExist(60); });
    EXPECT_TRUE(wakeUntilDone(told, [this] { manager->setServerAddrExist(); }));
    EXPECT_TRUE(manager->isServerAddrExist(60));
}

TEST_F(ServerAddrTest, OneWhoComesDuringAQueryIsNotLeftWaiting) {
    std::promise<void> asked;
    std::promise<void> go;
    const RawHttpServer server([&](Poco::Net::StreamSocket& client, const std::string&) {
        asked.set_value();
        go.get_future().wait();
        RawHttpServer::send(client, replyWith("[]"));
    });
    auto asking = std::async(std::launch::async, [&] { return query(server); });
    asked.get_future().wait();
    auto waiter = std::async(std::launch::async, [this] { return manager->isServerAddrExist(60); });
    EXPECT_EQ(std::future_status::timeout, waiter.wait_for(std::chrono::milliseconds(50)));
    go.set_value();
    EXPECT_TRUE(waiter.get()) << "false: its time has passed";
    EXPECT_EQ(0, asking.get());
}
