#ifndef VLOXLIB_HTTP_FILEVERSION_H
#define VLOXLIB_HTTP_FILEVERSION_H

#include <vloxlib/Types.h>

#include <string>
#include <string_view>

#include "vloxlib/http/ReplyHeaders.h"

namespace vloxlib {

/// @brief What a `Content-Range` header names, in bytes; -1 for what it doesn't.
struct ContentRange {
    int64 first = -1;
    int64 last = -1;
    int64 total = -1;
};

ContentRange readContentRange(std::string_view value);

/// @brief What tells one state of a server's file from another.
struct FileVersion {
    int64 length = -1;      ///< in bytes; -1 where the reply doesn't tell
    std::string validator;  ///< an ETag or a date, as sent, that changes with each byte; empty without one
};

/// @brief The version of the file that a reply is, or is a part of.
FileVersion versionOf(const ReplyHeaders& reply);
/// @brief Whether a part and what was there before belong together; without a validator nobody can tell.
bool isSameFile(const FileVersion& before, const FileVersion& now);

/// @name The version that a partial file belongs to, kept in a file beside it
/// Nothing can be compared with one that isn't there or can't be read.
/// @{
FileVersion readVersionBeside(const std::string& path);
void writeVersionBeside(const std::string& path, const FileVersion& version);
void removeVersionBeside(const std::string& path);
/// @}

}  // namespace vloxlib

#endif
