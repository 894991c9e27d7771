/// @file
/// @brief The hash functions of SM9 over SM3 (GM/T 0044.4-2016): H1, the key derivation and the check value.
/// SM2 derives its keys in the same way.
///
/// Errors: nothing is returned when OpenSSL has no SM3 or no memory.
#ifndef QUILCRYPTO_SM9_HASH_H
#define QUILCRYPTO_SM9_HASH_H

#include <openssl/evp.h>
#include <quilcrypto/sm9/Bytes.h>
#include <quilcrypto/sm9/Field.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

namespace vloxlib::sm9 {

using Digest = std::array<std::uint8_t, 32>;

/// @brief One run of SM3. A failed step shows in finish().
class Sm3 {
public:
    Sm3();
    Sm3(const Sm3& other);  ///< goes on from what the other one has read
    Sm3& operator=(const Sm3&) = delete;

    Sm3& update(ByteView bytes);
    Sm3& updateCounter(std::uint32_t counter);  ///< four bytes, big-endian
    std::optional<Digest> finish();

private:
    struct Release {
        void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
    };
    std::unique_ptr<EVP_MD_CTX, Release> m_context;
    bool m_good;
};

/// @brief H1(Z, n) for Z = identity || hid, hid 0x03 (encryption): the first 320 bits Ha of
/// SM3(01 || Z || 00000001) || SM3(01 || Z || 00000002), and (Ha mod (n - 1)) + 1.
std::optional<Fn> hashToScalar(ByteView identity);

/// @brief KDF(Z, size) = SM3(Z || 00000001) || SM3(Z || 00000002) || .., cut, for Z = C || w || identity;
/// below 2^37 bytes.
std::optional<SecretBytes> deriveKey(ByteView c, ByteView w, ByteView identity, std::size_t size);

/// @brief MAC(K2, Z) = SM3(Z || K2).
std::optional<Digest> checkValue(ByteView key, ByteView text);

/// @brief Whether a derived key may hide a text: one whose bytes are all zero would leave the text as it is.
bool isUsable(ByteView key);

/// @brief out = text XOR the start of the key, which is at least as long.
void applyKey(const SecretBytes& key, ByteView text, std::uint8_t* out);

}  // namespace vloxlib::sm9

#endif
