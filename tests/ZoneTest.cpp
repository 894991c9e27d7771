#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "support/DataDir.h"
#include "support/DevServer.h"
#include "vloxlib/ConfigManager.h"
#include "vloxlib/encrypt/EncryptBridge.h"
#include "vloxlib/http/HttpHelper.h"
#include "vloxlib/http/ServerAddrManager.h"

// Addresses and zones as a client meets them: server processes with real keys, nothing played by the test.
namespace {

using namespace vloxlib;
using testing::HasSubstr;
using vlox_test::DevServer;

constexpr char kVloxId[] = "someone";
constexpr char kOther[] = "127.0.0.2";  // a second address that this machine has without being told

struct Crypto {
    const char* name;
    ASYM_ENCRYPT_TYPE asymmetric;
    SYM_ENCRYPT_TYPE symmetric;
};
const Crypto cryptos[] = {
    {"sm2", ASYM_SM2, SYM_AES128_CBC},
    {"sm2", ASYM_SM2, SYM_SM4},
    {"sm9", ASYM_SM9, SYM_AES128_CBC},
    {"sm9", ASYM_SM9, SYM_SM4},
};

class ZoneTest : public testing::Test {
protected:
    ~ZoneTest() override {
        HttpHelper::releaseInstance(kVloxId);
        ServerAddrManager::releaseInstance(kVloxId);
    }

    /// The platform that the client knows, with keys in a directory: SM9 needs the file there.
    std::unique_ptr<DevServer> start(std::vector<std::string> options = {}) const {
        options.insert(options.end(), {"--keys", dir.path()});
        return std::make_unique<DevServer>(options);
    }
    void use(const DevServer& server, const Crypto& crypto = cryptos[0]) {
        const bool sm2 = crypto.asymmetric == ASYM_SM2;
        config->setConfig(CONFIG_AS_HOST, server.host());
        config->setConfig(CONFIG_AS_PORT, server.port());
        config->setConfig(CONFIG_ENCRYPT_POLICY, crypto.asymmetric);
        config->setConfig(CONFIG_SYM_ENCRYPT_TYPE, crypto.symmetric);
        config->setConfig(CONFIG_ENCRYPT_PUBKEY,
                          std::string(server.line()[sm2 ? "sm2PublicKey" : "sm9Identity"].GetString()));
        config->setConfig(CONFIG_ENCRYPT_PARAM_PATH,
                          std::string(server.line()["sm9ParameterFile"].GetString()));
        bridge->unInitial();
        ASSERT_EQ(0, bridge->initial());
    }
    std::string post(const std::string& path, int timeout = 15) {
        return helper->doSyncHttpRequest(HTTP_METHOD_POST, HTTP_BUSINESS_AS,
                                         helper->getCommonHttpBusinessTypeFullUrl(path), "{}", timeout);
    }
    std::string text(_ConfigKey key) const { return config->getConfig(key, std::string("absent")); }

    const vlox_test::DataDir dataDir;
    const vlox_test::TempDir dir;
    std::shared_ptr<ConfigManager> config = ConfigManager::getInstance(kVloxId);
    std::shared_ptr<EncryptBridge> bridge = EncryptBridge::getInstance(kVloxId);
    std::shared_ptr<HttpHelper> helper = HttpHelper::getInstance(UserInfo("app", kVloxId));
    std::shared_ptr<ServerAddrManager> manager = ServerAddrManager::getInstance(UserInfo("app", kVloxId));
};

/// All members of that name in a result text, the first attempt's first.
std::vector<std::string> all(const char* name, const std::string& result) {
    rapidjson::Document document;
    document.Parse(result.c_str());
    std::vector<std::string> values;
    for (const auto& member : document.GetObject()) {
        if (member.name == name) {
            values.push_back(member.value.IsInt() ? std::to_string(member.value.GetInt())
                                                  : member.value.GetString());
        }
    }
    return values;
}

std::vector<std::string> codesOf(const std::string& result) { return all("returnCode", result); }

using Services = std::map<std::string, std::pair<_ConfigKey, _ConfigKey>>;
const Services services = {
    {"PCS", {CONFIG_PCS_HOST, CONFIG_PCS_PORT}},    {"FS", {CONFIG_FS_HOST, CONFIG_FS_PORT}},
    {"CDS", {CONFIG_CDS_HOST, CONFIG_CDS_PORT}},    {"TOPIC", {CONFIG_TOPIC_HOST, CONFIG_TOPIC_PORT}},
    {"BLS", {CONFIG_BLS_HOST, CONFIG_BLS_PORT}},    {"FPS", {CONFIG_FPS_HOST, CONFIG_FPS_PORT}},
    {"VOIP", {CONFIG_VOIP_HOST, CONFIG_VOIP_PORT}},
};

TEST_F(ZoneTest, ThePlatformTellsWhereItsServicesAre) {
    const struct {
        const char* why;
        const char* rule;
        std::vector<std::string> missing;
    } rows[] = {
        {"good behaviour", "delay=0", {}},
        {"lists of several servers: the first one counts", "servers=3", {}},
        {"an unknown kind is passed over", "unknown=1", {}},
        {"a broken element drops the rest", "broken=TOPIC", {"TOPIC", "BLS", "FPS", "VOIP"}},
        {"no server at all in each list", "servers=0", {"PCS", "FS", "CDS", "TOPIC", "BLS", "FPS", "VOIP"}},
    };
    for (const auto& row : rows) {
        for (const int prefix : {1, 0}) {
            SCOPED_TRACE(row.why + std::string(prefix == 1 ? ", with prefix" : ""));
            const auto server = start({"--misbehave", row.rule});
            use(*server);
            config->setConfig(CONFIG_URL_SERVICE_PREFIX, prefix);
            for (const auto& [kind, keys] : services) {
                config->setConfig(keys.first, std::string("before"));
                config->setConfig(keys.second, std::string("before"));
            }
            manager->setServerAddrEmpty();
            ASSERT_EQ(0, manager->queryServerAddress());
            for (const auto& [kind, keys] : services) {
                const bool told = !testing::Value(row.missing, testing::Contains(kind));
                EXPECT_EQ(told ? server->host() : "before", text(keys.first)) << kind;
                EXPECT_EQ(told ? std::to_string(server->port()) : "before", text(keys.second)) << kind;
            }
            EXPECT_EQ(1, server->stats()["paths"]["server/address/query"].GetInt());
            EXPECT_EQ(1, server->count("unwrappedKeys"));
        }
    }
}

TEST_F(ZoneTest, AnotherZoneAnswersUnderItsOwnKeys) {
    const DevServer second;
    dir.write("zone.json", second.firstLine());
    const auto first = start({"--other-zone", dir.path("zone.json")});
    long long sessions = 0;
    for (const Crypto& own : cryptos) {
        for (const char* foreign : {"sm2", "sm9"}) {
            SCOPED_TRACE(own.name + std::to_string(own.symmetric) + " to " + foreign);
            use(*first, own);
            const std::string result = post(std::string("echo/@zone=") + foreign);
            EXPECT_THAT(codesOf(result), testing::ElementsAre("-829", "0"));
            EXPECT_THAT(
                all("data", result),
                testing::ElementsAre(HasSubstr(R"("otherZoneHttpPublicAddress":")" + second.url() + "\""),
                                     HasSubstr(R"("path":"echo","appId":"app","header":{"deviceType")")));
            ++sessions;
            EXPECT_EQ(sessions, first->count("unwrappedKeys"));
            EXPECT_EQ(sessions, second.count("unwrappedKeys"));
        }
    }
    EXPECT_EQ(sessions, first->stats()["codes"]["10016"].GetInt64());
    EXPECT_EQ(sessions, second.stats()["codes"]["0"].GetInt64());
    EXPECT_THAT(codesOf(post("echo")), testing::ElementsAre("0")) << "only on demand";

    EXPECT_THAT(codesOf(post("echo/@zone=none")), testing::ElementsAre("-829", "0"));
    EXPECT_EQ(1, second.count("plainRequests"));
    const DevServer stranger;
    dir.write("zone.json", [&] {
        std::string line = second.firstLine();
        const std::string key = second.line()["sm2PublicKey"].GetString();
        return line.replace(line.find(key), key.size(), stranger.line()["sm2PublicKey"].GetString());
    }());
    const auto mistaken = start({"--other-zone", dir.path("zone.json"), "--misbehave", "zone=sm2"});
    use(*mistaken);
    EXPECT_THAT(codesOf(post("echo")), testing::ElementsAre("-829", "-104")) << "a zone that has another key";
}

TEST_F(ZoneTest, OverTlsTheServicesAndTheOtherZoneAreReachedSoToo) {
    const vlox_test::TempDir secondKeys;
    const DevServer second({"--tls", "--keys", secondKeys.path()});  // with an authority of its own
    dir.write("zone.json", second.firstLine());
    const auto first = start({"--tls", "--other-zone", dir.path("zone.json")});
    use(*first);
    const std::string tlsPort = std::to_string(first->line()["tls"]["ports"]["good"].GetInt());
    config->setConfig(CONFIG_AS_HOST, std::string("localhost"));
    config->setConfig(CONFIG_AS_PORT, tlsPort);
    config->setConfig(CONFIG_WEB_REQUEST_MODE, SECURITY_POLICY_SERVER_CA);
    config->setConfig(CONFIG_CA_CERT_PATH, first->authorityFile());
    ASSERT_EQ(0, manager->queryServerAddress());
    EXPECT_EQ(tlsPort, text(CONFIG_FS_PORT));
    EXPECT_EQ(std::to_string(first->port()), text(CONFIG_PCS_PORT)) << "its protocol is plain TCP";

    EXPECT_THAT(codesOf(post("echo/@zone=sm2")), testing::ElementsAre("-829", "-199"));
    EXPECT_EQ(0, second.count("encryptedRequests")) << "nobody trusts its authority";
    config->setConfig(CONFIG_CA_CERT_CONTENT, secondKeys.read("tls/authority.pem"));
    const std::string result = post("echo/@zone=sm2");
    EXPECT_THAT(codesOf(result), testing::ElementsAre("-829", "0"));
    EXPECT_THAT(all("data", result)[0],
                HasSubstr(R"("otherZoneHttpsPublicAddress":")" + second.httpsUrl("good") + "\""));
    EXPECT_EQ(1, second.count("encryptedRequests"));

    use(*first);  // without TLS a client couldn't follow to an address that needs it
    config->setConfig(CONFIG_WEB_REQUEST_MODE, SECURITY_POLICY_PLAIN);
    const std::string plain = post("echo/@zone=sm2");
    EXPECT_THAT(codesOf(plain), testing::ElementsAre("-829", "0"));
    EXPECT_THAT(all("data", plain)[0], testing::Not(HasSubstr("otherZoneHttpsPublicAddress")));
}

TEST_F(ZoneTest, AnAddressThatDoesNotAnswerGivesWayToTheOther) {
    const struct {
        const char* primary;
        std::vector<std::string> codes;
        long long answered;
    } rows[] = {
        {"silent", {"-828", "0"}, 1},
        {"refuse", {"-807"}, 0},  // somebody is there and says no: that is an answer
        {"answer", {"0"}, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.primary);
        const auto server = start({"--also-host", kOther, "--primary", row.primary});
        use(*server);
        config->setConfig(CONFIG_AS_HOST_ALTERNATE, std::string(kOther));
        EXPECT_EQ(row.codes, codesOf(post("echo", 3)));
        EXPECT_EQ(server->host(), text(CONFIG_AS_HOST));
        EXPECT_EQ(row.answered, server->count("encryptedRequests"));
    }
    const DevServer plain({"--keys", dir.path()});
    use(plain);
    config->setConfig(CONFIG_AS_HOST_ALTERNATE, plain.host());
    config->setConfig(CONFIG_AS_HOST, std::string("nowhere.invalid"));
    EXPECT_THAT(codesOf(post("echo")), testing::ElementsAre("-806", "0")) << "a name that nobody knows";
    EXPECT_EQ(1, plain.count("encryptedRequests"));
}

TEST_F(ZoneTest, TheOtherAddressTellsWhereTheServicesAre) {
    const auto server = start({"--also-host", kOther, "--primary", "refuse"});
    use(*server);
    EXPECT_EQ(-807, manager->queryServerAddress());
    config->setConfig(CONFIG_AS_HOST_ALTERNATE, std::string(kOther));
    EXPECT_EQ(0, manager->queryServerAddress());
    EXPECT_EQ(kOther, text(CONFIG_FS_HOST)) << "the address that was asked";
    EXPECT_EQ(std::to_string(server->port()), text(CONFIG_FS_PORT));
    EXPECT_STREQ(kOther, server->line()["alsoHost"].GetString());
}

}  // namespace
