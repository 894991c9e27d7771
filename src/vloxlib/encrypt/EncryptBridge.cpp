#include "vloxlib/encrypt/EncryptBridge.h"

#include <openssl/crypto.h>
#include <rapidjson/document.h>

#include "vloxlib/ConfigManager.h"
#include "vloxlib/encrypt/Base64.h"
#include "vloxlib/encrypt/DeploymentSecrets.h"
#include "vloxlib/encrypt/EncryptFactory.h"
#include "vloxlib/log/vloxLog.h"
#include "vloxlib/utility/RapidJsonUtils.h"

namespace vloxlib {

namespace {

constexpr int kStrategySuccess = 1;

// A session key for the length of one operation, cleansed afterwards.
class BorrowedKey {
public:
    explicit BorrowedKey(QCLAsymStrategy& strategy) : m_key(strategy.getSecretKey()) {}
    ~BorrowedKey() { OPENSSL_cleanse(&m_key[0], m_key.size()); }
    BorrowedKey(const BorrowedKey&) = delete;
    BorrowedKey& operator=(const BorrowedKey&) = delete;

    const unsigned char* bytes() const { return reinterpret_cast<const unsigned char*>(m_key.data()); }
    unsigned int length() const { return static_cast<unsigned int>(m_key.size()); }

private:
    std::string m_key;
};

}  // namespace

InstancesHolder<EncryptBridge>& EncryptBridge::s_instanceHolder = *new InstancesHolder<EncryptBridge>;

std::shared_ptr<EncryptBridge> EncryptBridge::getInstance(const std::string& uuid) {
    return s_instanceHolder.getInstance(uuid);
}

void EncryptBridge::releaseInstance(const std::string& uuid) { s_instanceHolder.releaseInstance(uuid); }

EncryptBridge::EncryptBridge(const std::string& uuid) : m_tag("EncryptBridge"), m_uuid(uuid) {}

EncryptBridge::EncryptBridge(SYM_ENCRYPT_TYPE symType, ASYM_ENCRYPT_TYPE asymType, const std::string& pubKey,
                             const std::string& ibcParamContent)
    : m_tag("EncryptBridge1") {
    const Relation made = initEncryptStrategy(asymType, symType);
    made.asymStrategy->initialWithKey(pubKey, "", ibcParamContent);
    publish(made, asymType, symType);
}

EncryptBridge::~EncryptBridge() { VLOX_LOG(0, "called"); }

int EncryptBridge::initial() {
    WindowsMutexGuard lock(m_mutex);
    if (m_inited) {
        return 0;
    }
    const std::shared_ptr<ConfigManager> config = ConfigManager::getInstance(m_uuid);
    const auto policy = static_cast<ASYM_ENCRYPT_TYPE>(config->getConfig(CONFIG_ENCRYPT_POLICY, 0));
    const auto symType = static_cast<SYM_ENCRYPT_TYPE>(config->getConfig(CONFIG_SYM_ENCRYPT_TYPE, 0));
    VLOX_LOG(0, "m_encryptPolicy: %d;m_symEncryptType: %d", static_cast<int>(policy),
             static_cast<int>(symType));
    const Relation made = initEncryptStrategy(policy, symType);
    const std::string pubKey = config->getConfig(CONFIG_ENCRYPT_PUBKEY, std::string());
    const std::string paramPath = config->getConfig(CONFIG_ENCRYPT_PARAM_PATH, std::string());
    int result = kStrategySuccess;
    if (isComplete(policy, pubKey, paramPath)) {
        result = made.asymStrategy->initialWithKey(pubKey, paramPath, "");
        m_inited = true;  // also after a failure: only unInitial() allows another try
    }
    publish(made, policy, symType);
    return result == kStrategySuccess ? 0 : -1;
}

int EncryptBridge::unInitial() {
    WindowsMutexGuard lock(m_mutex);
    m_inited = false;
    return 0;
}

// Whether the configuration has what the policy needs for making a key.
bool EncryptBridge::isComplete(ASYM_ENCRYPT_TYPE policy, const std::string& pubKey,
                               const std::string& paramPath) {
    if (pubKey.empty()) {
        VLOX_LOG(4, "encryptInitalFromCfg error:encryptPubKey is empty");
        return false;
    }
    if (policy == ASYM_SM9 && paramPath.empty()) {
        VLOX_LOG(4, "encryptInitalFromCfg error:encryPath is empty");
        return false;
    }
    return true;
}

EncryptBridge::Relation EncryptBridge::initEncryptStrategy(ASYM_ENCRYPT_TYPE asymType,
                                                           SYM_ENCRYPT_TYPE symType) {
    if (asymType == ASYM_NONE && symType != SYM_NONE) {
        VLOX_LOG(4, "Encrypt type config error! will not use encrypt,%d, %d", static_cast<int>(asymType),
                 static_cast<int>(symType));
        symType = SYM_NONE;
    } else if (asymType != ASYM_NONE && symType == SYM_NONE) {
        VLOX_LOG(4, "Encrypt type config error! will use aes128 to encrypt,%d, %d",
                 static_cast<int>(asymType), static_cast<int>(symType));
        symType = SYM_AES128_CBC;
    }
    return {EncryptFactory::createAsymStrategy(asymType), EncryptFactory::createSymStrategy(symType)};
}

// The types stay as configured, even where the strategies are others.
void EncryptBridge::publish(const Relation& relation, ASYM_ENCRYPT_TYPE asymType, SYM_ENCRYPT_TYPE symType) {
    std::lock_guard<std::mutex> lock(m_stateMutex);
    m_asymStrategy = relation.asymStrategy;
    m_symStrategy = relation.symStrategy;
    m_encryptPolicy = asymType;
    m_symEncryptType = symType;
}

EncryptBridge::Relation EncryptBridge::relation() const {
    std::lock_guard<std::mutex> lock(m_stateMutex);
    return {m_asymStrategy, m_symStrategy};
}

const std::string EncryptBridge::getSecretKeyBase64() {
    const Relation current = relation();
    return current.asymStrategy ? current.asymStrategy->getSecretKeyBase64() : std::string();
}

std::string EncryptBridge::getCryptoTypeStr() const {
    rapidjson::Document types(rapidjson::kObjectType);
    {
        std::lock_guard<std::mutex> lock(m_stateMutex);
        types.AddMember("asymAlg", static_cast<int>(m_encryptPolicy), types.GetAllocator());
        types.AddMember("symAlg", static_cast<int>(m_symEncryptType), types.GetAllocator());
    }
    return Base64::encode(RapidJsonUtils::jsonToString(types));
}

std::string EncryptBridge::encryptData(const std::string& plain) {
    const Relation current = relation();
    if (!current.symStrategy) {
        return std::string();
    }
    const BorrowedKey key(*current.asymStrategy);
    return current.symStrategy->encryptData(key.bytes(), key.length(), plain);
}

std::string EncryptBridge::decryptData(const std::string& cipher) {
    const Relation current = relation();
    if (!current.symStrategy) {
        return std::string();
    }
    const BorrowedKey key(*current.asymStrategy);
    return current.symStrategy->decryptData(key.bytes(), key.length(), cipher);
}

bool EncryptBridge::symmetricEncryptFile(const char* source, const char* destination) {
    const Relation current = relation();
    if (!current.symStrategy || source == nullptr || destination == nullptr) {
        return false;
    }
    const BorrowedKey key(*current.asymStrategy);
    return current.symStrategy->encryptFile(key.bytes(), key.length(), source, destination);
}

bool EncryptBridge::symmetricDecryptFile(const char* source, const char* destination) {
    const Relation current = relation();
    if (!current.symStrategy || source == nullptr || destination == nullptr) {
        return false;
    }
    const BorrowedKey key(*current.asymStrategy);
    return current.symStrategy->decryptFile(key.bytes(), key.length(), source, destination);
}

std::string EncryptBridge::symmetricEncryptContentBySpecialSecretKey(const std::string& plain) {
    static_assert(sizeof(kSpecialKey) == 16 + 1, "the special key has 16 characters");
    const Relation current = relation();
    if (!current.symStrategy) {
        return std::string();
    }
    return current.symStrategy->encryptData(reinterpret_cast<const unsigned char*>(kSpecialKey),
                                            sizeof(kSpecialKey) - 1, plain);
}

}  // namespace vloxlib
