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

/// @brief Stores such a setting, for the user alone to read, unless there is one that can be read: of all
/// that try at once, in any of the user's processes, one wins, and all are given its value.
/// @return what is stored now; empty when nothing could be stored
std::string claimUserSetting(const std::string& name, const std::string& value, std::size_t limitInBytes);

}  // namespace vloxlib::platform

#endif
