/// @file
/// @brief Secret numbers as operations take them: read from bytes, or drawn at random.
#ifndef QUILCRYPTO_SM9_SCALAR_H
#define QUILCRYPTO_SM9_SCALAR_H

#include <quilcrypto/sm9/Bytes.h>
#include <quilcrypto/sm9/Word256.h>

#include <optional>

namespace vloxlib::sm9 {

inline constexpr std::size_t kScalarSize = 32;

/// @brief A number in [1, limit - 1] from 32 bytes, big-endian. @return nothing for others
std::optional<Word256> readScalar(ByteView bytes, const Word256& limit);

/// @brief A random number in [1, limit - 1]: drawn again until it lies there, so that each is equally likely.
/// @return false when the random source fails
bool drawScalar(Word256& k, const Word256& limit);

}  // namespace vloxlib::sm9

#endif
