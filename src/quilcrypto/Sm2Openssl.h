// SM2 encryption by OpenSSL, behind VLOX_SM2_OPENSSL, and as what ours is compared with.
#ifndef QUILCRYPTO_SM2OPENSSL_H
#define QUILCRYPTO_SM2OPENSSL_H

#include <quilcrypto/sm9/Bytes.h>

#include <memory>
#include <optional>
#include <utility>

typedef struct evp_pkey_st EVP_PKEY;

namespace vloxlib::sm2::openssl {

// Like sm2::EncryptionKey.
class EncryptionKey {
public:
    static std::optional<EncryptionKey> fromPoint(sm9::ByteView point);
    std::optional<sm9::Bytes> encrypt(sm9::ByteView plain) const;

private:
    struct KeyDeleter {
        void operator()(EVP_PKEY* key) const;
    };
    using KeyHandle = std::unique_ptr<EVP_PKEY, KeyDeleter>;

    explicit EncryptionKey(KeyHandle key) : m_key(std::move(key)) {}
    KeyHandle m_key;
};

}  // namespace vloxlib::sm2::openssl

#endif
