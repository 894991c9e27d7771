#ifndef VLOXLIB_UTILITY_FILEUTIL_H
#define VLOXLIB_UTILITY_FILEUTIL_H

#include <vloxlib/Export.h>
#include <vloxlib/Types.h>
#include <cstdio>
#include <string>
#include <vector>

namespace vloxlib {

/// @brief Stateless operations over files. Paths are UTF-8.
///
/// Threads: all operations from any thread; two writers of one file aren't coordinated.
/// Errors: results only, no file error leaves as an exception; each failure is logged at level 3. Int results
/// are 0 for success and -1 for every failure. What a failed operation has done so far stays.
/// Rights: on Linux what is made here is its user's alone (files 0600, directories 0700); what is there
/// already keeps its rights. Opened files aren't passed on to the programs that the process starts.
class VLOX_API FileUtil {
public:
    /// @return 0 when something is at the path, -1 when not.
    static int isExist(const std::string& path);
    /// @brief Makes one directory, in a parent that exists; one that is there already is a success.
    static int createDir(const std::string& path);
    /// @brief Removes a file, or a directory with all in it; nothing at the path is a success. Of a link only
    /// the link goes, wherever it leads.
    static int remove(const std::string& path);
    static int rename(const std::string& source, const std::string& destination);
    /// @brief Copies a file or a directory; into `destination` when that is a directory.
    ///
    /// What is the source itself, by whatever path or link, is left as it is and a success; a directory isn't
    /// copied into itself. True only when the disk has taken all of it.
    static bool copyFile(const std::string& source, const std::string& destination);
    /// @return the size in bytes, -1 on failure.
    static __int64 getLocalFileLenth(const std::string& path);
    /// @brief Reads a whole file, byte by byte as it stands. On failure `content` is left alone: also when
    /// the file ends before its length, or there is no memory for it.
    static int readFileContent(const std::string& path, std::string& content);
    /// @brief Replaces a file's content, or makes the file in a directory that exists.
    /// @return 0 when all has been taken by the system, the closing of the file included.
    static int writeFileContent(const std::string& path, const std::string& content);
    /// @return the last element of the path, empty when it ends with a separator or is no path.
    static std::string extractFileName(const std::string& path);
    /// @brief Appends the names of a directory's entries, subdirectories included, one level deep.
    static int getFileNameInDirectory(const std::string& directory, std::vector<std::string>& names);
    /// @brief Appends the paths of a directory's entries, in the same order.
    static int getFilePathInDirectory(const std::string& directory, std::vector<std::string>& paths);
    /// @brief As the C library's function, with a UTF-8 path on every system.
    /// @return null on failure and without a mode; the caller closes the file.
    static std::FILE* fopen(const std::string& path, const char* mode);
};

}  // namespace vloxlib

#endif
