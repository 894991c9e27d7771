#ifndef VLOXLIB_ENCRYPT_BASE64_H
#define VLOXLIB_ENCRYPT_BASE64_H

#include <vloxlib/Export.h>
#include <vloxlib/Noncopyable.h>
#include <string>

namespace vloxlib {

/// @brief Base64 in the one form that the whole system uses: RFC 4648 section 5 ("-" and "_"), no
/// padding, no line breaks.
///
/// All operations are static, hold no state and may be called from any thread. Nothing is logged or thrown.
class VLOX_API Base64 : public Noncopyable {
public:
    static std::string encode(const std::string& data);
    /// @param length in bytes; a null pointer or a length below 1 gives the empty text
    static std::string encode(const char* data, int length);

    /// White space is skipped wherever it stands, and padding is tolerated.
    /// @return the bytes; where the text isn't valid, those of the whole groups of four before that place
    static std::string decode(const std::string& text);
    /// @param length in characters; a null pointer or a length below 1 gives the empty string
    static std::string decode(const char* text, int length);
};

}  // namespace vloxlib

#endif
