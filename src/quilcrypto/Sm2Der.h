// The DER form of an SM2 cipher text (GM/T 0009):
// SM2Cipher ::= SEQUENCE { x INTEGER, y INTEGER, C3 OCTET STRING, C2 OCTET STRING }
#ifndef QUILCRYPTO_SM2DER_H
#define QUILCRYPTO_SM2DER_H

#include <quilcrypto/sm9/DerValues.h>

#include <cstddef>
#include <optional>

namespace vloxlib::sm2 {

inline constexpr std::size_t kCheckSize = 32;

struct CipherFields {
    sm9::der::Number x;
    sm9::der::Number y;
    sm9::ByteView c3;  // 32 bytes
    sm9::ByteView c2;  // any length
};

sm9::Bytes writeCipher(const CipherFields& fields);
// Views into der; nothing unless it is exactly one SM2Cipher in its one form. Whether x and y are a point of
// the curve isn't looked at.
std::optional<CipherFields> readCipher(sm9::ByteView der);

}  // namespace vloxlib::sm2

#endif
