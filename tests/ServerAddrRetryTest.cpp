#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>

#include "support/DataDir.h"
#include "support/RawHttpServer.h"
#include "vloxlib/ConfigManager.h"
#include "vloxlib/encrypt/Base64.h"
#include "vloxlib/encrypt/EncryptBridge.h"
#include "vloxlib/http/HttpHelper.h"
#include "vloxlib/http/ServerAddrManager.h"

using namespace vloxlib;
using testing::StartsWith;
using vlox_test::RawHttpServer;

namespace {

constexpr char kVloxId[] = "someone";

std::string envelope(const std::string& code, const std::string& data) {
    return RawHttpServer::ok(R"({"code":")" + code + R"(","data":")" + Base64::encode(data) + "\"}");
}

std::string zoneAt(const RawHttpServer& server, const std::string& kind = "Http") {
    const std::string url = server.url();
    return R"({"otherZonePublicKey":"key","otherZoneIbcPubParam":"","otherZoneAsymmetricCryptoType":0,"otherZone)" +
           kind + R"(PublicAddress":")" + url.substr(0, url.size() - 1) + "\"}";
}

// A text as a member of a JSON text.
std::string quoted(std::string json) {
    for (std::size_t i = 0; (i = json.find('"', i)) != std::string::npos; i += 2) {
        json.insert(i, 1, '\\');
    }
    return "\"" + json + "\"";
}

class ServerAddrRetryTest : public testing::Test {
protected:
    ServerAddrRetryTest() {
        config->setConfig(CONFIG_ENCRYPT_POLICY, 0);
        config->setConfig(CONFIG_SYM_ENCRYPT_TYPE, 0);
        config->setConfig(CONFIG_ENCRYPT_PUBKEY, "none");
        bridge->initial();
    }
    ~ServerAddrRetryTest() override {
        HttpHelper::releaseInstance(kVloxId);
        ServerAddrManager::releaseInstance(kVloxId);
    }

    void addresses(const std::string& primary, const std::string& alternate) {
        config->setConfig(CONFIG_AS_HOST, primary);
        config->setConfig(CONFIG_AS_HOST_ALTERNATE, alternate);
    }
    std::string post(const std::string& url, HTTPBusinessType type = HTTP_BUSINESS_AS, int timeout = 30) {
        return helper->doSyncHttpRequest(HTTP_METHOD_POST, type, url, "{}", timeout);
    }

    const vlox_test::DataDir dataDir;
    std::shared_ptr<ConfigManager> config = ConfigManager::getInstance(kVloxId);
    std::shared_ptr<EncryptBridge> bridge = EncryptBridge::getInstance(kVloxId);
    std::shared_ptr<HttpHelper> helper = HttpHelper::getInstance(UserInfo("app", kVloxId));
};

}  // namespace

TEST_F(ServerAddrRetryTest, AHostThatDoesNotResolveGivesWayToTheOtherAddress) {
    const RawHttpServer server(RawHttpServer::ok(R"({"code":"0"})"));
    const std::string port = std::to_string(server.port());
    addresses("one.invalid", "127.0.0.1");
    EXPECT_EQ(R"({"returnCode":-806,"returnCode":0})", post("http://one.invalid:" + port + "/vlox/x"));
    EXPECT_THAT(server.lastRequest(), StartsWith("POST /vlox/x "));
    EXPECT_EQ("one.invalid", config->getConfig(CONFIG_AS_HOST, std::string()));
    const std::pair<HTTPBusinessType, _ConfigKey> kinds[] = {{HTTP_BUSINESS_FS, CONFIG_FS_HOST},
                                                             {HTTP_BUSINESS_CDS, CONFIG_CDS_HOST},
                                                             {HTTP_BUSINESS_TOPIC, CONFIG_TOPIC_HOST},
                                                             {HTTP_BUSINESS_BLS, CONFIG_BLS_HOST}};
    for (const auto& [kind, host] : kinds) {
        EXPECT_EQ(R"({"returnCode":-806,"returnCode":0})",
                  post("http://one.invalid:" + port + "/vlox/x", kind));
        EXPECT_EQ("127.0.0.1", config->getConfig(host, std::string())) << "the kind's host stays swapped";
        config->setConfig(host, std::string());
    }
    EXPECT_EQ(5U, server.requests().size());

    const auto unknown = static_cast<HTTPBusinessType>(5);
    EXPECT_EQ(R"({"returnCode":-806})", post("http://one.invalid:" + port + "/vlox/x", unknown));
    EXPECT_EQ(R"({"returnCode":-806})", post("http://third.invalid:" + port + "/vlox/x"));
    addresses("one.invalid", "two.invalid");
    EXPECT_EQ(R"({"returnCode":-806,"returnCode":-806})", post("http://one.invalid:" + port + "/vlox/x"))
        << "one more attempt, no loop";
    EXPECT_EQ(5U, server.requests().size());
}

TEST_F(ServerAddrRetryTest, ATimeOutGivesWayToo) {
    std::atomic<int> requests{0};
    const RawHttpServer server([&](Poco::Net::StreamSocket& client, const std::string&) {
        if (++requests == 1) {
            RawHttpServer::stall(client);
        } else {
            RawHttpServer::send(client, envelope("0", "[1]"));
        }
    });
    addresses("127.0.0.1", "localhost");
    EXPECT_EQ(R"({"returnCode":-828,"data":"[1]","returnCode":0})",
              post(server.url("/vlox/x"), HTTP_BUSINESS_AS, 3));
}

TEST_F(ServerAddrRetryTest, ARefusedConnectionDoesNot) {
    int port = 0;
    {
        const RawHttpServer gone(RawHttpServer::ok(""));
        port = gone.port();
    }
    addresses("127.0.0.1", "localhost");
    EXPECT_EQ(R"({"returnCode":-807})", post("http://127.0.0.1:" + std::to_string(port) + "/vlox/x"));
}

TEST_F(ServerAddrRetryTest, AnotherZoneIsAskedOnceAtTheSamePath) {
    const RawHttpServer other(envelope("0", "[2]"));
    for (const char* kind : {"Http", "Https"}) {
        const std::string zone = zoneAt(other, kind);
        const RawHttpServer own(envelope("10016", zone));
        EXPECT_EQ(R"({"data":)" + quoted(zone) + R"(,"returnCode":-829,"data":"[2]","returnCode":0})",
                  post(own.url("/vlox/x/y")));
        EXPECT_EQ(1U, own.requests().size());
        EXPECT_THAT(other.lastRequest(), StartsWith("POST /vlox/x/y "));
    }
    const RawHttpServer own(envelope("10016", zoneAt(other)));
    helper->doSyncHttpRequest(HTTP_METHOD_POST, HTTP_BUSINESS_AS, own.url("/vlox/${id}"), {{"id", "7"}},
                              "{}");
    EXPECT_THAT(own.lastRequest(), StartsWith("POST /vlox/7 "));
    EXPECT_THAT(other.lastRequest(), StartsWith("POST /vlox/${id} ")) << "the caller's own path goes on";

    const RawHttpServer further(envelope("10016", zoneAt(own)));
    const RawHttpServer first(envelope("10016", zoneAt(further)));
    EXPECT_THAT(post(first.url("/vlox/x")), testing::EndsWith("\"returnCode\":-829}"))
        << "a further zone isn't asked";
    EXPECT_EQ(1U, own.requests().size());
}

TEST_F(ServerAddrRetryTest, AZoneThatIsNotNamedInFullIsNoZone) {
    const char* const rows[] = {
        "no JSON", "[]", "{}", R"({"otherZonePublicKey":"k","otherZoneIbcPubParam":""})",
        R"({"otherZonePublicKey":"k","otherZoneIbcPubParam":"","otherZoneAsymmetricCryptoType":"2"})"};
    for (const char* zone : rows) {
        EXPECT_EQ(R"({"data":)" + quoted(zone) + R"(,"returnCode":-829,"returnCode":-104})",
                  post(RawHttpServer(envelope("10016", zone)).url("/vlox/x")));
    }
    EXPECT_EQ(R"({"returnCode":-829,"returnCode":-104})",
              post(RawHttpServer(RawHttpServer::ok(R"({"code":"10016"})")).url("/vlox/x")));
}

TEST_F(ServerAddrRetryTest, TheOtherAddressMayNameAnotherZone) {
    const RawHttpServer other(envelope("0", "[3]"));
    const std::string zone = zoneAt(other);
    const RawHttpServer own(envelope("10016", zone));
    addresses("one.invalid", "127.0.0.1");
    EXPECT_EQ(
        R"({"returnCode":-806,"data":)" + quoted(zone) + R"(,"returnCode":-829,"data":"[3]","returnCode":0})",
        post("http://one.invalid:" + std::to_string(own.port()) + "/vlox/x"));
    EXPECT_THAT(other.lastRequest(), StartsWith("POST /vlox/x "));
}
