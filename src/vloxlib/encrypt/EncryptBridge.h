#ifndef VLOXLIB_ENCRYPT_ENCRYPTBRIDGE_H
#define VLOXLIB_ENCRYPT_ENCRYPTBRIDGE_H

#include <vloxlib/Export.h>
#include <vloxlib/InstancesHolder.h>
#include <vloxlib/Noncopyable.h>
#include <vloxlib/encrypt/EncryptTypes.h>
#include <vloxlib/encrypt/QCLAsymStrategy.h>
#include <vloxlib/encrypt/SymEncryptStrategy.h>
#include <vloxlib/thread/Windows/WindowsMutex.h>
#include <memory>
#include <mutex>
#include <string>

namespace vloxlib {

/// @brief One key-exchange relation between a client and the platform: the session key, its wrapped form for
/// the server, and the encryption of content and files under it.
///
/// Life: a bridge of getInstance() has no key until initial() has run; one built from explicit values has its
/// key at once. Only unInitial() followed by initial() makes another key. Keys are held in memory only.
/// Threads: all operations from any thread. Content operations that overlap with initial() use the key of
/// before or the one after it, never a half-made one. Ownership: the registry holds no bridge alive; who
/// needs one keeps the shared pointer. Errors: content operations give an empty string or false, also on a
/// bridge that has no strategies yet; without a session key they fail, and nothing is encrypted or written.
class VLOX_API EncryptBridge : public Noncopyable {
public:
    /// The registered bridge of an account (the empty text stands for "uuId"), or a new one without a key.
    static std::shared_ptr<EncryptBridge> getInstance(const std::string& uuid);
    /// Forgets the account's bridge; whoever holds it may go on using it.
    static void releaseInstance(const std::string& uuid);

    /// @param uuid the account, whose ConfigManager initial() reads
    explicit EncryptBridge(const std::string& uuid);
    /// A bridge into another zone, never registered. If its key can't be made, getSecretKeyBase64() is empty.
    /// @param pubKey SM2: Base64 of the key's bytes, in either alphabet; SM9: the identity
    /// @param ibcParamContent SM9: the text of the system parameters
    EncryptBridge(SYM_ENCRYPT_TYPE symType, ASYM_ENCRYPT_TYPE asymType, const std::string& pubKey,
                  const std::string& ibcParamContent);
    ~EncryptBridge() override;

    /// Makes the strategies and a session key after the account's configuration; once done, does nothing.
    /// @return -1 when the key could not be made, otherwise 0, also when the configuration lacks the public
    /// key or, for SM9, the parameter file
    int initial();
    /// Lets the next initial() make another key; until then the old one stays in use.
    /// @return 0
    int unInitial();

    /// @return the wrapped session key in URL-safe Base64
    const std::string getSecretKeyBase64();
    /// @return the configured types, as a JSON object with `asymAlg` and `symAlg` in URL-safe Base64
    std::string getCryptoTypeStr() const;

    std::string encryptData(const std::string& plain);
    std::string decryptData(const std::string& cipher);
    /// Paths are UTF-8. The result is the symmetric strategy's, which for SM4 has its own sense.
    bool symmetricEncryptFile(const char* source, const char* destination);
    bool symmetricDecryptFile(const char* source, const char* destination);
    /// Encrypts under the deployment's fixed key instead of the session key.
    std::string symmetricEncryptContentBySpecialSecretKey(const std::string& plain);

private:
    struct Relation {
        std::shared_ptr<QCLAsymStrategy> asymStrategy;
        std::shared_ptr<SymEncryptStrategy> symStrategy;
    };
    static bool isComplete(ASYM_ENCRYPT_TYPE policy, const std::string& pubKey, const std::string& paramPath);
    static Relation initEncryptStrategy(ASYM_ENCRYPT_TYPE asymType, SYM_ENCRYPT_TYPE symType);
    void publish(const Relation& relation, ASYM_ENCRYPT_TYPE asymType, SYM_ENCRYPT_TYPE symType);
    Relation relation() const;

    static InstancesHolder<EncryptBridge>& s_instanceHolder;  // never destroyed

    const std::string m_tag;
    std::shared_ptr<QCLAsymStrategy> m_asymStrategy;    // guarded by m_stateMutex
    std::shared_ptr<SymEncryptStrategy> m_symStrategy;  // guarded by m_stateMutex
    ASYM_ENCRYPT_TYPE m_encryptPolicy = ASYM_NONE;      // guarded by m_stateMutex
    SYM_ENCRYPT_TYPE m_symEncryptType = SYM_NONE;       // guarded by m_stateMutex
    WindowsMutex m_mutex;   // held by initial() and unInitial(), before m_stateMutex
    bool m_inited = false;  // guarded by m_mutex
    const std::string m_uuid;
    mutable std::mutex m_stateMutex;
};

}  // namespace vloxlib

#endif
