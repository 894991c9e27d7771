/// @file
/// @brief SM9 identity-based encryption (GM/T 0044-2016): what the sender and the key centre need.
///
/// Errors: an empty std::optional; nothing is thrown but std::bad_alloc.
/// Threads: const operations of one object from any thread at once.
/// Lengths are in bytes; identities are bytes as they stand, without an end mark.
#ifndef QUILCRYPTO_SM9_SM9_H
#define QUILCRYPTO_SM9_SM9_H

#include <quilcrypto/sm9/Bytes.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

namespace vloxlib::sm9 {

/// @brief The system parameters of an encryption domain: the master public key Ppub-e, a point of G1.
class SystemParameters {
public:
    /// @brief Reads SM9EncMasterPublicKey, as SEQUENCE { BIT STRING } or as the bare BIT STRING.
    /// @return nothing unless the bytes are exactly one such value (no byte short or over, shortest lengths)
    /// that
    ///         holds an uncompressed point of the curve with both coordinates below p.
    static std::optional<SystemParameters> fromDer(ByteView der);
    /// @brief The point as x || y, 64 bytes. @return nothing unless it lies on the curve.
    static std::optional<SystemParameters> fromPoint(ByteView xy);

    Bytes toDer() const;  ///< SEQUENCE { BIT STRING }, 70 bytes
    Bytes toPoint() const { return Bytes(m_point.begin(), m_point.end()); }  ///< x || y, 64 bytes

private:
    friend class MasterKey;
    SystemParameters() = default;
    std::array<std::uint8_t, 64> m_point{};
};

/// @brief The public encryption key of one identity (hid 0x03) under given parameters.
///
/// Cheap to make and to use once. From the second use on it keeps tables of some 45 KB, so that a wrap costs
/// a quarter; the call that builds them takes as long as four wraps without them.
class EncryptionKey {
public:
    EncryptionKey(const SystemParameters& parameters, ByteView identity);
    ~EncryptionKey();
    EncryptionKey(EncryptionKey&&) noexcept;
    EncryptionKey& operator=(EncryptionKey&&) noexcept;

    /// @brief Length of what encrypt() makes of so many bytes.
    static std::size_t cipherSize(std::size_t plainSize);

    /// @brief DER SM9Cipher with EnType 0 (the plain text XORed with the derived key) and C3 = SM3(C2 || K2).
    /// @return nothing when the random source fails, or when the parameters make this identity's key
    /// degenerate.
    std::optional<Bytes> encrypt(ByteView plain) const;
    /// @brief The same with a given r of 32 bytes, for known answers only: a sender that repeats r gives the
    /// text away.
    /// @return nothing, too, when r is not in [1, n-1] or the standard asks for another one.
    std::optional<Bytes> encryptWith(ByteView r, ByteView plain) const;

    struct Encapsulation {
        SecretBytes key;
        Bytes cipher;  ///< C as x || y, 64 bytes
    };
    /// @brief A fresh key of the given length (at least 1) and what the holder of the identity needs to
    /// derive it.
    std::optional<Encapsulation> encapsulate(std::size_t keySize) const;
    /// @brief The same with a given r; see encryptWith().
    std::optional<Encapsulation> encapsulateWith(ByteView r, std::size_t keySize) const;

private:
    struct State;
    std::unique_ptr<State> m_state;
};

/// @brief The private key of one identity, a point of G2, as the key centre hands it out.
class UserKey {
public:
    /// @brief The point as x1 || x0 || y1 || y0, 128 bytes (the part with u first), and the identity it is
    /// for.
    /// @return nothing unless it lies on the twisted curve and has order n.
    static std::optional<UserKey> fromBytes(ByteView point, ByteView identity);
    ~UserKey();
    UserKey(UserKey&&) noexcept;
    UserKey& operator=(UserKey&&) noexcept;

    SecretBytes toBytes() const;

    /// @brief Undoes EncryptionKey::encrypt().
    /// @return nothing unless the bytes are exactly one SM9Cipher with EnType 0, its point lies on the curve
    /// and C3
    ///         fits; which of these failed is not told.
    std::optional<SecretBytes> decrypt(ByteView der) const;
    /// @brief Undoes EncryptionKey::encapsulate(); the same key length must be asked for.
    std::optional<SecretBytes> decapsulate(ByteView cipher, std::size_t keySize) const;

private:
    friend class MasterKey;
    struct State;
    explicit UserKey(std::unique_ptr<State> state);
    std::unique_ptr<State> m_state;
};

/// @brief The master private key ke of a key centre, from which every user's key follows.
class MasterKey {
public:
    static std::optional<MasterKey> generate();  ///< @return nothing when the random source fails
    /// @brief 32 bytes, big-endian. @return nothing unless the number is in [1, n-1].
    static std::optional<MasterKey> fromBytes(ByteView scalar);
    ~MasterKey();
    MasterKey(const MasterKey&) = default;
    MasterKey& operator=(const MasterKey&) = default;

    SecretBytes toBytes() const;
    SystemParameters parameters() const;
    /// @return nothing when this identity has no key under ke: the centre must make another master key.
    std::optional<UserKey> extract(ByteView identity) const;

private:
    MasterKey() = default;
    std::array<std::uint8_t, 32> m_scalar{};
};

}  // namespace vloxlib::sm9

#endif
