#ifndef VLOXLIB_HTTP_HTTPHEADERLINE_H
#define VLOXLIB_HTTP_HTTPHEADERLINE_H

#include <map>
#include <string>
#include <string_view>

namespace vloxlib {

/// @brief A header of a reply, a part of the line that it was read from.
struct HeaderLine {
    bool valid = false;  ///< false for the status line, the empty last one and others without a colon
    std::string_view name;
    std::string_view value;  ///< one blank for a header without a value
};

HeaderLine readHeaderLine(std::string_view line);

/// @brief Takes one line of a reply's head into a map of headers; a name that is there keeps its first value.
/// @return the value that was inserted, or null
std::string* insertHeaderLine(std::string_view line, std::map<std::string, std::string>& headers);

/// @brief What a line adds to the value of the line before, blanks and line end cut; empty when it begins
/// with no blank, and so stands for itself.
std::string_view continuationOf(std::string_view line);

/// @brief Whether two header names are the same, which their case doesn't decide.
bool isSameName(std::string_view one, std::string_view other);

/// @brief The value of the first header of that name in any case; empty when there is none.
std::string headerIn(const std::map<std::string, std::string>& headers, std::string_view name);

/// @brief The start offset that a `Content-Range` header names, 0 for one that names none.
long long startOfContentRange(std::string_view value);

}  // namespace vloxlib

#endif
