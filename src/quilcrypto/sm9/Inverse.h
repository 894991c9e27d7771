/// @file
/// @brief Inverses modulo an odd number by division steps (Bernstein, Yang: Fast constant-time gcd
/// computation and modular inversion, 2019). Constant time.
#ifndef QUILCRYPTO_SM9_INVERSE_H
#define QUILCRYPTO_SM9_INVERSE_H

#include <quilcrypto/sm9/Word256.h>

namespace vloxlib::sm9 {

/// Steps are made in batches, so that all but the last bits of the numbers are touched once per batch only.
inline constexpr int kBatches = 10;
inline constexpr int kStepsPerBatch = 62;

/// @brief start a^-1 (2^62 R^-1)^10 mod m, and zero for a = 0; for a, start < m.
Word256 inverseBySteps(const Word256& start, const Word256& a, const Modulus& m);

}  // namespace vloxlib::sm9

#endif
