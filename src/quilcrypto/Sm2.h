/// @file
/// @brief SM2 public key encryption (GM/T 0003.4): the sender's side, and the server's for the stand-in
/// platform and the tests. Cipher texts are DER SM2Cipher of GM/T 0009.
///
/// Threads: const operations of one object from any thread at once. Errors: an empty result.
#ifndef QUILCRYPTO_SM2_H
#define QUILCRYPTO_SM2_H

#include <quilcrypto/sm9/Bytes.h>

#include <memory>
#include <optional>

typedef struct evp_pkey_st EVP_PKEY;

namespace vloxlib::sm2 {

using sm9::Bytes;
using sm9::ByteView;
using sm9::SecretBytes;

struct KeyDeleter {
    void operator()(EVP_PKEY* key) const;
};
using KeyHandle = std::unique_ptr<EVP_PKEY, KeyDeleter>;

/// @brief A point of the curve that texts are encrypted for.
class EncryptionKey {
public:
    /// @brief From x || y, 64 bytes, or 04 || x || y. @return nothing unless it is a point of the curve.
    static std::optional<EncryptionKey> fromPoint(ByteView point);

    /// @brief A capacity that is enough for what encrypt() makes of so many bytes.
    static std::size_t capacityFor(std::size_t plainLength);
    /// @brief The cipher text of 1 byte and more; another one at each call.
    std::optional<Bytes> encrypt(ByteView plain) const;

private:
    explicit EncryptionKey(KeyHandle key) : m_key(std::move(key)) {}
    KeyHandle m_key;
};

/// @brief The server's private key.
class PrivateKey {
public:
    static std::optional<PrivateKey> generate();
    /// @brief 32 bytes, big-endian. @return nothing unless the number is in [1, n-2].
    static std::optional<PrivateKey> fromScalar(ByteView scalar);

    SecretBytes toScalar() const;  ///< 32 bytes, big-endian
    Bytes toPoint() const;         ///< the public key, 04 || x || y

    /// @brief Undoes EncryptionKey::encrypt().
    /// @return nothing unless the bytes are exactly one SM2Cipher in its shortest form that was made for this
    /// key; which of these failed is not told
    std::optional<SecretBytes> decrypt(ByteView der) const;

private:
    explicit PrivateKey(KeyHandle key) : m_key(std::move(key)) {}
    KeyHandle m_key;
};

}  // namespace vloxlib::sm2

#endif
