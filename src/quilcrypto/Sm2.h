/// @file
/// @brief SM2 public key encryption (GM/T 0003.4): the sender's side, and the server's for the stand-in
/// platform and the tests. Cipher texts are DER SM2Cipher of GM/T 0009.
///
/// Threads: const operations of one object from any thread at once. Errors: an empty result.
#ifndef QUILCRYPTO_SM2_H
#define QUILCRYPTO_SM2_H

#include <quilcrypto/Sm2Curve.h>
#include <quilcrypto/sm9/Bytes.h>

#include <array>
#include <memory>
#include <optional>

namespace vloxlib::sm2 {

using sm9::Bytes;
using sm9::ByteView;
using sm9::SecretBytes;

/// @brief A point of the curve that texts are encrypted for.
///
/// Cheap to make and to use once. From the second use on it keeps a table of 4 KB, so that a wrap costs less
/// than half.
class EncryptionKey {
public:
    /// @brief From x || y, 64 bytes, or 04 || x || y. @return nothing unless it is a point of the curve.
    static std::optional<EncryptionKey> fromPoint(ByteView point);
    ~EncryptionKey();
    EncryptionKey(EncryptionKey&&) noexcept;
    EncryptionKey& operator=(EncryptionKey&&) noexcept;

    /// @brief A capacity that is enough for what encrypt() makes of so many bytes.
    static std::size_t capacityFor(std::size_t plainLength);
    /// @brief The cipher text of 1 byte and more; another one at each call.
    std::optional<Bytes> encrypt(ByteView plain) const;
    /// @brief The same with a given k of 32 bytes, for known answers only: a sender that repeats k gives the
    /// text away.
    /// @return nothing, too, when k is not in [1, n-1] or the standard asks for another one.
    std::optional<Bytes> encryptWith(ByteView k, ByteView plain) const;

private:
    struct State;
    explicit EncryptionKey(std::unique_ptr<State> state);
    std::unique_ptr<State> m_state;
};

/// @brief The server's private key d.
class PrivateKey {
public:
    static std::optional<PrivateKey> generate();
    /// @brief 32 bytes, big-endian. @return nothing unless the number is in [1, n-2].
    static std::optional<PrivateKey> fromScalar(ByteView scalar);
    ~PrivateKey();
    PrivateKey(const PrivateKey&) = default;
    PrivateKey& operator=(const PrivateKey&) = default;

    SecretBytes toScalar() const;  ///< 32 bytes, big-endian
    Bytes toPoint() const;         ///< the public key, 04 || x || y

    /// @brief Undoes EncryptionKey::encrypt().
    /// @return nothing unless the bytes are exactly one SM2Cipher in its one form that was made for this
    /// key; which of these failed is not told
    std::optional<SecretBytes> decrypt(ByteView der) const;

private:
    explicit PrivateKey(const sm9::Word256& d) : m_d(d) {}
    sm9::Word256 m_d;
};

}  // namespace vloxlib::sm2

#endif
