#ifndef VLOXLIB_UTILITY_FILECOPY_H
#define VLOXLIB_UTILITY_FILECOPY_H

#include <Poco/File.h>

#include <string>

namespace vloxlib {

/// @brief Makes one directory, for its user alone; one that is there is fine. Throws Poco::FileException.
void makeFolder(const std::string& path);

/// @brief Copies a file, or a directory with all in it; into `destination` when that is a directory.
///
/// A destination that is the source itself is left as it is. A directory isn't copied into itself, also when
/// a link in it leads back up.
/// @throws Poco::FileException, std::filesystem::filesystem_error; what has been copied until then stays.
void copyTo(const Poco::File& source, const std::string& destination);

}  // namespace vloxlib

#endif
