#ifndef PLATFORM_USERSETTING_H
#define PLATFORM_USERSETTING_H

#include <cstddef>
#include <string>

namespace vloxlib::platform {

/// @brief Reads a setting that the current user's programs share.
/// @param name a plain name, of ASCII letters and digits
/// @return the value up to its first zero byte; empty when there is none, it can't be read or it exceeds the
/// limit
std::string readUserSetting(const std::string& name, std::size_t limitInBytes);

/// @brief Stores such a setting, for the user alone to read. Failures are silent, and then nothing is stored.
void writeUserSetting(const std::string& name, const std::string& value);

}  // namespace vloxlib::platform

#endif
