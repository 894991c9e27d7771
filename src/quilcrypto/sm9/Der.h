/// @file
/// @brief The two DER structures of GM/T 0080 that encryption uses. Strict: one value, nothing after it,
/// lengths in their shortest form.
#ifndef QUILCRYPTO_SM9_DER_H
#define QUILCRYPTO_SM9_DER_H

#include <quilcrypto/sm9/Bytes.h>

#include <cstddef>
#include <cstdint>
#include <optional>

namespace vloxlib::sm9 {

inline constexpr std::size_t kG1Size = 64;
inline constexpr std::size_t kCheckSize = 32;

/// @brief SM9Cipher ::= SEQUENCE { EnType INTEGER, C1 BIT STRING, C3 OCTET STRING, CipherText OCTET STRING }
struct CipherFields {
    ByteView c1;  ///< x || y
    ByteView c3;  ///< 32 bytes
    ByteView c2;  ///< any length
};

std::size_t cipherDerSize(std::size_t c2Size);
Bytes writeCipher(const CipherFields& fields);
/// @brief Views into der. @return nothing unless the form is right and EnType is 0; the point isn't looked
/// at.
std::optional<CipherFields> readCipher(ByteView der);

/// @brief SM9EncMasterPublicKey ::= SEQUENCE { Ppube BIT STRING }; the point is x || y.
Bytes writeMasterPublicKey(ByteView point);
/// @brief x || y, a view into der; the bare BIT STRING is read too.
std::optional<ByteView> readMasterPublicKey(ByteView der);

}  // namespace vloxlib::sm9

#endif
