#ifndef VLOXLIB_ENCRYPT_QCLASYMSTRATEGY_H
#define VLOXLIB_ENCRYPT_QCLASYMSTRATEGY_H

#include <vloxlib/Export.h>
#include <vloxlib/encrypt/ASymEncryptStrategy.h>
#include <string>

namespace vloxlib {

/// @brief What the strategies over the cryptographic library share: one session key and its wrapping.
///
/// Life: initialWithKey() once; another key means another strategy. The session key is held in memory only
/// and cleansed at the end. Threads: after initialWithKey() the getters may be called from any thread.
/// Errors: results are 1 for success, anything else is the failing step's code, logged at level 4. After a
/// failure getSecretKeyBase64() is empty and the key is zero bytes, under which no strategy encrypts.
class VLOX_API QCLAsymStrategy : public ASymEncryptStrategy {
public:
    ~QCLAsymStrategy() override;

    std::string getSecretKeyBase64() override;
    std::string getSecretKey() override;

    /// Makes and wraps the session key, after what initialWithKey() has stored.
    virtual int initial();
    /// @param pubKey SM2: Base64 of the key's bytes, in either alphabet; SM9: the identity
    /// @param ibcParamFilePath SM9: file with the system parameters, or empty
    /// @param ibcParamContent SM9: text of the system parameters, looked at when the path is empty
    virtual int initialWithKey(const std::string& pubKey, const std::string& ibcParamFilePath,
                               const std::string& ibcParamContent);
    /// Makes the public key object.
    virtual int initPubKeyContext();

protected:
    explicit QCLAsymStrategy(const std::string& strategyName);

    int initialSecretKey();
    void forgetSecretKey();

    static constexpr unsigned int kSecretKeyLength = 16;
    unsigned char m_secretKey[kSecretKeyLength + 1] = {};
    std::string m_secretKeyBase64;
    void* m_pubKeyObject = nullptr;  // owned
    std::string m_pubKey;

private:
    int makeSecretKey();
};

}  // namespace vloxlib

#endif
