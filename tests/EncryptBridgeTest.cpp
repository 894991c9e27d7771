#include "vloxlib/encrypt/EncryptBridge.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>

#include "quilcrypto/QuilCryptoLib.h"
#include "quilcrypto/Sm2.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"
#include "support/Vectors.h"
#include "vloxlib/ConfigManager.h"
#include "vloxlib/encrypt/Aes128CBCStrategy.h"
#include "vloxlib/encrypt/Base64.h"
#include "vloxlib/encrypt/DeploymentSecrets.h"

using namespace vloxlib;
using namespace vlox_test;

namespace {

std::string typesOf(const EncryptBridge& bridge) { return Base64::decode(bridge.getCryptoTypeStr()); }

// A bridge by key whose configuration the test writes, and the server's end of it.
class EncryptBridgeTest : public testing::Test {
protected:
    std::shared_ptr<EncryptBridge> configured(int policy, int symType, const std::string& pubKey) {
        m_config->setConfig(CONFIG_ENCRYPT_POLICY, policy);
        m_config->setConfig(CONFIG_SYM_ENCRYPT_TYPE, symType);
        m_config->setConfig(CONFIG_ENCRYPT_PUBKEY, pubKey);
        return std::make_shared<EncryptBridge>("bridge test");
    }
    std::string serverKey() const {
        const sm2::Bytes point = m_server->toPoint();
        return Base64::encode(std::string(point.begin(), point.end()));
    }
    // The session key as the server finds it in a request.
    std::string unwrapped(EncryptBridge& bridge) const {
        const auto key = m_server->decrypt(Base64::decode(bridge.getSecretKeyBase64()));
        return key ? std::string(key->begin(), key->end()) : "not unwrapped";
    }

    // Also what somebody sealed under the zeros that stand in for a key stays closed.
    void expectNoKey(EncryptBridge& bridge, unsigned int selector) const {
        const std::string zeros(16, '\0');
        unsigned char forged[16];
        unsigned int length = sizeof forged;
        ASSERT_EQ(QCL_SUCCESS, QCLCryptEncrypt(selector, asBytes(zeros), 16, asBytes(kSymIv), 16, forged,
                                               &length, asBytes("text"), 4, 0));
        EXPECT_EQ("", bridge.getSecretKeyBase64());
        EXPECT_EQ("", bridge.encryptData("text"));
        EXPECT_EQ("", bridge.decryptData(std::string(forged, forged + length)));
        EXPECT_NE("", bridge.symmetricEncryptContentBySpecialSecretKey("text")) << "needs no session key";
        EXPECT_FALSE(bridge.symmetricEncryptFile(m_dir.path("plain").c_str(), m_dir.path("sealed").c_str()));
        EXPECT_EQ(selector == QCL_SM4_CBC,
                  bridge.symmetricDecryptFile(m_dir.path("plain").c_str(), m_dir.path("back").c_str()))
            << "under SM4 success is false";
        EXPECT_FALSE(std::filesystem::exists(m_dir.path("sealed")));
        EXPECT_FALSE(std::filesystem::exists(m_dir.path("back")));
    }
    void SetUp() override { m_dir.write("plain", std::string(48, 'p')); }

    const TempDir m_dir;
    const std::shared_ptr<ConfigManager> m_config = ConfigManager::getInstance("bridge test");
    const std::optional<sm2::PrivateKey> m_server = sm2::PrivateKey::generate();
    Aes128CBCStrategy m_aes;
};

}  // namespace

TEST_F(EncryptBridgeTest, RegistryGivesOneLivingBridgePerAccount) {
    const auto unknown = EncryptBridge::getInstance("");
    EXPECT_EQ(unknown, EncryptBridge::getInstance("uuId"));
    const auto first = EncryptBridge::getInstance("a");
    EXPECT_EQ(first, EncryptBridge::getInstance("a"));
    EXPECT_NE(first, unknown);
    EncryptBridge::releaseInstance("a");
    EXPECT_NE(first, EncryptBridge::getInstance("a"))
        << "who holds the old one keeps it, the registry makes another";
}

TEST_F(EncryptBridgeTest, TheRegistryKeepsNoKeyAlive) {
    m_config->setConfig(CONFIG_ENCRYPT_POLICY, 2);
    m_config->setConfig(CONFIG_ENCRYPT_PUBKEY, serverKey());
    auto bridge = EncryptBridge::getInstance("bridge test");
    ASSERT_EQ(0, bridge->initial());
    ASSERT_NE("", bridge->getSecretKeyBase64());
    bridge.reset();
    EXPECT_EQ("", EncryptBridge::getInstance("bridge test")->getSecretKeyBase64());
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
    const LogCapture log;
    const auto bridge = configured(0, 1, "any");
    EXPECT_EQ(0, bridge->initial());
    EXPECT_EQ(1, log.count("T", "m_encryptPolicy: 0;m_symEncryptType: 1"));
    EXPECT_EQ(1, log.count("E", "Encrypt type config error! will not use encrypt,0, 1"));
    EXPECT_EQ("text", bridge->encryptData("text"));
    EXPECT_EQ("text", bridge->decryptData("text"));
    EXPECT_EQ("text", bridge->symmetricEncryptContentBySpecialSecretKey("text"));
    EXPECT_EQ(R"({"asymAlg":0,"symAlg":1})", typesOf(*bridge));
}

TEST_F(EncryptBridgeTest, ContentAndFilesGoUnderTheUnwrappedKey) {
    const LogCapture log;
    const auto bridge = configured(2, 0, serverKey());
    ASSERT_EQ(0, bridge->initial());
    EXPECT_EQ(1, log.count("E", "Encrypt type config error! will use aes128 to encrypt,2, 0"));
    EXPECT_EQ(R"({"asymAlg":2,"symAlg":0})", typesOf(*bridge)) << "what was configured, not what is in use";
    const std::string key = unwrapped(*bridge);
    ASSERT_EQ(16u, key.size());
    const std::string cipher = m_aes.encryptData(asBytes(key), 16, "text");
    EXPECT_EQ(cipher, bridge->encryptData("text"));
    EXPECT_EQ("text", bridge->decryptData(cipher));
    EXPECT_EQ(m_aes.encryptData(asBytes(kSpecialKey), 16, "text"),
              bridge->symmetricEncryptContentBySpecialSecretKey("text"));

    const TempDir dir;
    dir.write("plain", "text of a file");
    EXPECT_TRUE(bridge->symmetricEncryptFile(dir.path("plain").c_str(), dir.path("sealed").c_str()));
    EXPECT_TRUE(m_aes.decryptFile(asBytes(key), 16, dir.path("sealed"), dir.path("back")));
    EXPECT_TRUE(bridge->symmetricDecryptFile(dir.path("sealed").c_str(), dir.path("back").c_str()));
    EXPECT_EQ("text of a filetext of a file", dir.read("back"));
    EXPECT_FALSE(bridge->symmetricEncryptFile(nullptr, dir.path("sealed").c_str()));
    EXPECT_FALSE(bridge->symmetricDecryptFile(dir.path("sealed").c_str(), nullptr));
}

TEST_F(EncryptBridgeTest, OnlyUnInitialAndInitialChangeTheKey) {
    const auto bridge = configured(2, 2, serverKey());
    ASSERT_EQ(0, bridge->initial());
    const std::string key = unwrapped(*bridge);
    const std::string wrapped = bridge->getSecretKeyBase64();
    m_config->setConfig(CONFIG_SYM_ENCRYPT_TYPE, 1);
    EXPECT_EQ(0, bridge->initial());
    EXPECT_EQ(wrapped, bridge->getSecretKeyBase64());
    EXPECT_EQ(R"({"asymAlg":2,"symAlg":2})", typesOf(*bridge))
        << "an initialised bridge reads no configuration";
    EXPECT_EQ(0, bridge->unInitial());
    EXPECT_EQ(wrapped, bridge->getSecretKeyBase64()) << "the old key works on";
    EXPECT_EQ(0, bridge->initial());
    EXPECT_NE(key, unwrapped(*bridge));
    EXPECT_EQ(R"({"asymAlg":2,"symAlg":1})", typesOf(*bridge));
}

TEST_F(EncryptBridgeTest, AnIncompleteConfigurationCanBeMended) {
    const LogCapture log;
    const auto bridge = configured(2, 1, "");
    EXPECT_EQ(0, bridge->initial());
    EXPECT_EQ(1, log.count("E", "encryptInitalFromCfg error:encryptPubKey is empty"));
    EXPECT_EQ("", bridge->getSecretKeyBase64());
    m_config->setConfig(CONFIG_ENCRYPT_PUBKEY, serverKey());
    EXPECT_EQ(0, bridge->initial());
    EXPECT_EQ(16u, unwrapped(*bridge).size());

    EXPECT_EQ(0, configured(4, 1, "identity")->initial());
    EXPECT_EQ(1, log.count("E", "encryptInitalFromCfg error:encryPath is empty"));
}

TEST_F(EncryptBridgeTest, AFailedKeyIsOnlyTriedAgainAfterUnInitial) {
    const LogCapture log;
    const auto bridge = configured(2, 1, "AAAA");
    EXPECT_EQ(-1, bridge->initial());
    m_config->setConfig(CONFIG_ENCRYPT_PUBKEY, serverKey());
    EXPECT_EQ(0, bridge->initial()) << "nothing to do";
    expectNoKey(*bridge, QCL_AES128_CBC);
    EXPECT_EQ(1, log.count("initPubKeyContext failed"));
    bridge->unInitial();
    EXPECT_EQ(0, bridge->initial());
    EXPECT_EQ(16u, unwrapped(*bridge).size());

    m_config->setConfig(CONFIG_ENCRYPT_PUBKEY, std::string("AAAA"));
    bridge->unInitial();
    EXPECT_EQ(-1, bridge->initial());
    expectNoKey(*bridge, QCL_AES128_CBC);
}

TEST_F(EncryptBridgeTest, WithoutAKeyNothingIsEncryptedOrDecrypted) {
    struct Row {
        const char* why;
        int policy;
        std::string pubKey;
        std::string parameters;  // a path, or what an explicit value can't be read from
    };
    const Row rows[] = {
        {"a key that is no point", 2, "AAAA", ""},
        {"no key", 2, "", ""},
        {"a parameter file that can't be read", 4, "server", m_dir.path("missing")},
        {"no parameter file", 4, "server", ""},
        {"an unknown policy", 3, "server", ""},
    };
    for (const Row& row : rows) {
        for (const int cipher : {1, 2}) {
            SCOPED_TRACE(std::string(row.why) + ", cipher " + std::to_string(cipher));
            const unsigned int selector = cipher == 1 ? QCL_AES128_CBC : QCL_SM4_CBC;
            const auto bridge = configured(row.policy, cipher, row.pubKey);
            m_config->setConfig(CONFIG_ENCRYPT_PARAM_PATH, row.parameters);
            bridge->initial();
            expectNoKey(*bridge, selector);
            EncryptBridge explicitly(static_cast<SYM_ENCRYPT_TYPE>(cipher),
                                     static_cast<ASYM_ENCRYPT_TYPE>(row.policy), row.pubKey, row.parameters);
            expectNoKey(explicitly, selector);
        }
    }
}

TEST_F(EncryptBridgeTest, UnknownNumbersFallBack) {
    const LogCapture log;
    const auto bridge = configured(3, 7, "identity");
    EXPECT_EQ(-1, bridge->initial()) << "SM9 runs, and an empty path is the strategy's to refuse";
    EXPECT_EQ(1, log.count("E", "config error. asym strategy:3"));
    EXPECT_EQ(1, log.count("E", "config error. sym strategy:7"));
    EXPECT_EQ(1, log.count("W", "m_ibcParmFilePath is empty"));
    EXPECT_EQ(1, log.count("E", "CreateIBCParamObjectFromFile failed. ret=-1"));
    EXPECT_EQ(R"({"asymAlg":3,"symAlg":7})", typesOf(*bridge));
    EXPECT_EQ(m_aes.encryptData(asBytes(kSpecialKey), 16, "text"),
              bridge->symmetricEncryptContentBySpecialSecretKey("text"));
}

TEST_F(EncryptBridgeTest, ExplicitValuesMakeAKeyAtOnce) {
    const LogCapture log;
    EncryptBridge bridge(SYM_AES128_CBC, ASYM_SM2, serverKey(), "");
    EXPECT_EQ(m_aes.encryptData(asBytes(unwrapped(bridge)), 16, "text"), bridge.encryptData("text"));
    EXPECT_EQ(R"({"asymAlg":2,"symAlg":1})", typesOf(bridge));
    { const EncryptBridge gone(SYM_AES128_CBC, ASYM_SM2, serverKey(), ""); }
    EXPECT_EQ(1, log.count("T", "vloxlib::EncryptBridge::~EncryptBridge"));
}

TEST_F(EncryptBridgeTest, RequestsMayRunWhileTheKeyChanges) {
    const auto bridge = configured(2, 1, serverKey());
    ASSERT_EQ(0, bridge->initial());
    std::atomic<bool> stop{false};
    std::thread requests([&] {
        while (!stop) {
            EXPECT_NE("", bridge->encryptData("text"));
            EXPECT_NE("", bridge->getSecretKeyBase64());
            EXPECT_NE("", bridge->getCryptoTypeStr());
        }
    });
    for (int change = 0; change < 20; ++change) {
        bridge->unInitial();
        bridge->initial();
    }
    stop = true;
    requests.join();
}
