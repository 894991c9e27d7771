/// @file
/// @brief Integer names of the public surface.
#ifndef VLOXLIB_TYPES_H
#define VLOXLIB_TYPES_H

#include <cstdint>

// Some compilers bring the name along, as a keyword or, once a standard header is read, as a macro.
#if !defined(_MSC_VER) && !defined(__int64)
/// Signed 64-bit integer under the name that the public surface uses; the same type as vloxlib::int64.
typedef long long __int64;  // NOLINT(bugprone-reserved-identifier)
#endif

namespace vloxlib {

/// Signed 64-bit integer: client ids, Unix times in seconds, file sizes in bytes.
using int64 = long long;

}  // namespace vloxlib

#endif
