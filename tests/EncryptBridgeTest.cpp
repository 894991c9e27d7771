#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "support/LogCapture.h"
#include "vloxlib/ConfigManager.h"
#include "vloxlib/encrypt/Base64.h"
#include "vloxlib/encrypt/EncryptBridge.h"

using namespace vloxlib;

namespace {

// A bridge by key whose configuration the test writes.
class EncryptBridgeTest : public testing::Test {
protected:
    std::shared_ptr<EncryptBridge> configured(int policy, int symType, const std::string& pubKey) {
        m_config->setConfig(CONFIG_ENCRYPT_POLICY, policy);
        m_config->setConfig(CONFIG_SYM_ENCRYPT_TYPE, symType);
        m_config->setConfig(CONFIG_ENCRYPT_PUBKEY, pubKey);
        return std::make_shared<EncryptBridge>("bridge test");
    }

    const std::shared_ptr<ConfigManager> m_config = ConfigManager::getInstance("bridge test");
};

std::string typesOf(const EncryptBridge& bridge) { return Base64::decode(bridge.getCryptoTypeStr()); }

}  // namespace

TEST_F(EncryptBridgeTest, RegistryGivesOneLivingBridgePerAccount) {
    const auto unknown = EncryptBridge::getInstance("");
    EXPECT_EQ(unknown, EncryptBridge::getInstance("uuId"));
    auto first = EncryptBridge::getInstance("a");
    EXPECT_EQ(first, EncryptBridge::getInstance("a"));
    EXPECT_NE(first, unknown);
    EncryptBridge::releaseInstance("a");
    const auto second = EncryptBridge::getInstance("a");
    EXPECT_NE(first, second) << "who holds the old one keeps it, the registry makes another";
}

TEST_F(EncryptBridgeTest, WithoutStrategiesContentOperationsGiveNothing) {
    EncryptBridge bridge("never initialised");
    EXPECT_EQ("", bridge.getSecretKeyBase64());
    EXPECT_EQ("", bridge.encryptData("text"));
    EXPECT_EQ("", bridge.decryptData("text"));
    EXPECT_EQ("", bridge.symmetricEncryptContentBySpecialSecretKey("text"));
    EXPECT_FALSE(bridge.symmetricEncryptFile("a", "b"));
    EXPECT_FALSE(bridge.symmetricDecryptFile("a", "b"));
    EXPECT_EQ(R"({"asymAlg":0,"symAlg":0})", typesOf(bridge));
}

TEST_F(EncryptBridgeTest, PolicyNoneKeepsContentAndReportsTheConfiguredNumber) {
    const vlox_test::LogCapture log;
    const auto bridge = configured(0, 1, "");
    EXPECT_EQ(0, bridge->initial());
    EXPECT_EQ(1, log.count("E", "encryptInitalFromCfg error:encryptPubKey is empty"));
    EXPECT_EQ(1, log.count("E", "Encrypt type config error! will not use encrypt,0, 1"));
    EXPECT_EQ("text", bridge->encryptData("text"));
    EXPECT_EQ("text", bridge->decryptData("text"));
    EXPECT_EQ("text", bridge->symmetricEncryptContentBySpecialSecretKey("text"));
    EXPECT_EQ(R"({"asymAlg":0,"symAlg":1})", typesOf(*bridge));
}
