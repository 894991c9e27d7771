#ifndef PLATFORM_FILEOPEN_H
#define PLATFORM_FILEOPEN_H

#include <cstdio>
#include <string>

namespace vloxlib::platform {

/// @brief Opens a file by its UTF-8 path, as std::fopen() does. @return null, with errno set, on failure.
///
/// The programs that this process starts don't get the file. On Linux a file that is made here is its user's
/// alone (mode 0600); one that is there keeps its mode.
std::FILE* openFile(const std::string& path, const char* mode);

/// @brief Makes an empty file of mode 0600 where nothing is, for those who let a library open the file.
///
/// A file that is there isn't touched or opened: closing it would give up this process's locks on it. Does
/// nothing on Windows, where a file is as private as its folder. A failure shows when the file is opened.
void makePrivateFile(const std::string& path);

/// @brief Makes one folder of mode 0700 on Linux, of the usual rights on Windows.
/// @return false when none was made; errno says why, on Windows GetLastError() does.
bool makePrivateFolder(const std::string& path);

/// @brief Moves to a byte counted from the start, also beyond 2 GiB. @return false on failure.
bool seekFile(std::FILE* file, long long offset);

/// @return how many bytes a file has, -1 when it can't be told. The file is at its start then.
long long fileLength(std::FILE* file);

/// @brief Brings what was written to the disk itself. @return false when the disk refuses.
bool syncFile(std::FILE* file);

}  // namespace vloxlib::platform

#endif
