#ifndef VLOXLIB_UTILITY_STRINGUTILS_H
#define VLOXLIB_UTILITY_STRINGUTILS_H

#include <vloxlib/Export.h>
#include <string>

namespace vloxlib {

/// @brief Small operations on text. Threads: any; randomStr() draws from the process's one `rand`.
class VLOX_API StringUtils {
public:
    static const std::string& EMPTY;  ///< The empty text; never destroyed.

    /// @brief Lower-case letters from `rand`, which nobody seeds here: not for secrets.
    /// @return so many letters; the empty text for a length below 1
    static std::string randomStr(int length);
    /// @brief Puts `to` in the place of each `from`, without looking at what it put in. An empty `from`
    /// changes nothing.
    static void stringReplace(std::string& text, const std::string& from, std::string to);
    /// @brief The low 18 bits of a value as three characters, the most significant first.
    static std::string encode(int value);

private:
    StringUtils() = default;
};

}  // namespace vloxlib

#endif
