/// @file
/// @brief Numbers to decimal text and back, leniently: no operation here reports a failure.
#ifndef VLOXLIB_NUMBERTEXT_H
#define VLOXLIB_NUMBERTEXT_H

#include <vloxlib/Export.h>
#include <vloxlib/Types.h>
#include <string>

namespace vloxlib {

/// @brief Writes the decimal text of a number, "-" ahead of a negative one, and a terminator.
/// @param buffer the caller's, of at least 21 bytes; 32 is the usual size
/// @{
VLOX_API void toStr(int value, char* buffer);
VLOX_API void toStr(unsigned int value, char* buffer);
VLOX_API void toStr(long value, char* buffer);
VLOX_API void toStr(unsigned long value, char* buffer);
VLOX_API void toStr(int64 value, char* buffer);
VLOX_API void toStr(unsigned long long value, char* buffer);
/// @}

/// @brief Reads the digits at the start of a text, up to the first other character; 0 when there are none.
///
/// The signed forms take one "-" ahead of the digits. There is no allowance for blanks or "+", and a number
/// too large for the destination wraps. The text form copies.
/// @{
VLOX_API void strToX(const std::string& text, int& value);
VLOX_API void strToX(const std::string& text, unsigned int& value);
VLOX_API void strToX(const std::string& text, std::string& value);
VLOX_API void strToX(const std::string& text, long& value);
VLOX_API void strToX(const std::string& text, unsigned long& value);
VLOX_API void strToX(const std::string& text, int64& value);
VLOX_API void strToX(const std::string& text, unsigned long long& value);
/// @}

}  // namespace vloxlib

#endif
