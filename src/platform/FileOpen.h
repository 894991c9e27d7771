#ifndef PLATFORM_FILEOPEN_H
#define PLATFORM_FILEOPEN_H

#include <cstdio>
#include <string>

namespace vloxlib::platform {

/// @brief Opens a file by its UTF-8 path, as std::fopen() does. @return null, with errno set, on failure.
std::FILE* openFile(const std::string& path, const char* mode);

/// @brief Moves to a byte counted from the start, also beyond 2 GiB. @return false on failure.
bool seekFile(std::FILE* file, long long offset);

}  // namespace vloxlib::platform

#endif
