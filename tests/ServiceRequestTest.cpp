#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>

#include "support/DataDir.h"
#include "support/DevServer.h"
#include "support/TempDir.h"
#include "vloxlib/Context.h"
#include "vloxlib/encrypt/EncryptBridge.h"
#include "vloxlib/http/HttpHelper.h"
#include "win32/VLOXBase.h"
#include "win32/VloxModuleAbstract.h"
#include "win32/vloxCommonlib.h"

// Service requests as modules make them: by client id, through the entry layer.
namespace {

using namespace vloxlib;
using testing::HasSubstr;
using vlox_test::DevServer;

class ServiceRequestTest : public testing::Test {
protected:
    ServiceRequestTest() {
        Context::getInstance()->setContext(CONTEXT_DEVICE_TYPE, 3);
        setConfigStr(client, CONFIG_AS_HOST, server.host().c_str());
        setConfigInt(client, CONFIG_AS_PORT, server.port());
        setConfigInt(client, CONFIG_ENCRYPT_POLICY, ASYM_SM2);
        setConfigStr(client, CONFIG_ENCRYPT_PUBKEY, server.line()["sm2PublicKey"].GetString());
        bridge->initial();
    }
    ~ServiceRequestTest() override { VLOXBase::releaseClient(client); }

    std::string url(const std::string& path) const {
        return VLOXBase::getUrl(client, CONFIG_AS_HOST, CONFIG_AS_PORT, path);
    }
    std::string post(const std::string& path, const std::string& body) const {
        return VLOXBase::doSyncHttpRequest(client, HTTP_METHOD_POST, HTTP_BUSINESS_AS, url(path), body);
    }

    const vlox_test::DataDir dataDir;
    DevServer server;
    const __int64 client = createVloxClient("app", "someone");
    const std::shared_ptr<EncryptBridge> bridge = EncryptBridge::getInstance("someone");
    const std::shared_ptr<HttpHelper> helper = HttpHelper::getInstance(UserInfo("app", "someone"));
};

TEST_F(ServiceRequestTest, EachFormReachesTheServiceAndBringsItsData) {
    std::string data;
    ASSERT_EQ(0, getDataStrFromResultStr(post("echo/text", R"({"form":"text"})"), data));
    EXPECT_THAT(data, HasSubstr(R"("path":"echo/text","appId":"app")"));
    EXPECT_THAT(data, HasSubstr(R"("params":{"form":"text","token":""})"));

    const std::string filled = VLOXBase::doSyncHttpRequest(
        client, HTTP_METHOD_PUT, HTTP_BUSINESS_AS, url("echo/${kind}/7"), R"({"form":"map"})",
        std::map<std::string, std::string>{{"kind", "card"}});
    ASSERT_EQ(0, getDataStrFromResultStr(filled, data));
    EXPECT_THAT(data, HasSubstr(R"("method":"PUT","path":"echo/card/7")"));

    rapidjson::Document body;
    body.Parse(R"({"form":"value"})");
    const std::string valued =
        VLOXBase::doSyncHttpRequest(client, HTTP_METHOD_GET, HTTP_BUSINESS_AS, url("echo/value"), body);
    ASSERT_EQ(0, getDataStrFromResultStr(valued, data));
    EXPECT_THAT(data, HasSubstr(R"("params":{"form":"value","token":""})"));
    EXPECT_FALSE(body.HasMember("token")) << "the caller's own value stays as it was";

    EXPECT_EQ(3, server.count("encryptedRequests"));
    EXPECT_EQ(1, server.count("unwrappedKeys"));
}

TEST_F(ServiceRequestTest, EveryWayOfEncryptingIsReadByTheServer) {
    const vlox_test::TempDir dir;
    const DevServer keeper({"--keys", dir.path()});
    setConfigInt(client, CONFIG_AS_PORT, keeper.port());
    long long sessions = 0;
    for (const int asymmetric : {ASYM_SM2, ASYM_SM9}) {
        for (const int symmetric : {SYM_AES128_CBC, SYM_SM4, SYM_NONE}) {  // the last one is mended to AES
            SCOPED_TRACE(std::to_string(asymmetric) + "-" + std::to_string(symmetric));
            setConfigInt(client, CONFIG_ENCRYPT_POLICY, asymmetric);
            setConfigInt(client, CONFIG_SYM_ENCRYPT_TYPE, symmetric);
            setConfigStr(client, CONFIG_ENCRYPT_PUBKEY,
                         keeper.line()[asymmetric == ASYM_SM2 ? "sm2PublicKey" : "sm9Identity"].GetString());
            setConfigStr(client, CONFIG_ENCRYPT_PARAM_PATH, keeper.line()["sm9ParameterFile"].GetString());
            bridge->unInitial();
            ASSERT_EQ(0, bridge->initial());
            std::string data;
            ASSERT_EQ(0, getDataStrFromResultStr(post("echo", R"({"text":"ü"})"), data));
            EXPECT_THAT(data, HasSubstr(R"("header":{"deviceType":3,"vloxId":"someone"})"));
            EXPECT_THAT(data, HasSubstr(R"("params":{"text":"ü","token":""})"));
            EXPECT_EQ(++sessions, keeper.count("unwrappedKeys"));
        }
    }
}

class BlockingModule : public VloxModuleAbstract {
public:
    explicit BlockingModule(std::shared_future<void> end) : m_end(std::move(end)) {}
    std::promise<void> entered;

    void onModuleRegistered(__int64) override {}
    void onModuleUnregistered() override {}
    bool acceptsCommand(int) override { return true; }
    void onSdkEventCmd(int, const std::string&, int, const std::string&) override {}
    void onNotificationCmd(int, int, const std::string&) override {}
    void onBusinessCmd(int, int, const std::string&) override {
        entered.set_value();
        m_end.wait();
    }

private:
    std::shared_future<void> m_end;
};

TEST_F(ServiceRequestTest, GoesOnWhileACommandIsWorkedOn) {
    std::promise<void> end;
    auto* const module = new BlockingModule(end.get_future().share());
    loadModule(client, module);
    auto command = std::async(std::launch::async, [&] { VLOXBase::dispatchBusinessCmd(client, 1, 1, ""); });
    module->entered.get_future().wait();
    auto request = std::async(std::launch::async, [&] { return post("echo", "{}"); });
    EXPECT_EQ(std::future_status::ready, request.wait_for(std::chrono::seconds(30)));
    end.set_value();
    command.wait();
    unloadModule(client, module);
}

}  // namespace
