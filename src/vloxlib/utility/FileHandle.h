#ifndef VLOXLIB_UTILITY_FILEHANDLE_H
#define VLOXLIB_UTILITY_FILEHANDLE_H

#include <cstdio>
#include <memory>
#include <string>

namespace vloxlib {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using FileHandle = std::unique_ptr<std::FILE, CloseFile>;

/// @brief Opens a file as platform::openFile() does. Throws Poco::FileException with the system's code.
FileHandle openFile(const std::string& path, const char* mode);

/// @brief Closes a file that was written to. @return false when the disk has refused any of it, now or
/// before.
///
/// What is still buffered goes out with the close, and may be refused only then.
bool closeWritten(FileHandle file);

/// @return true when both paths lead to one file or directory, by links of any kind too.
///
/// To be asked before the second path is opened for writing, which would empty the first one's file.
bool isSameFile(const std::string& one, const std::string& other);

}  // namespace vloxlib

#endif
