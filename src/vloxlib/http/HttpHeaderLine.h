#ifndef VLOXLIB_HTTP_HTTPHEADERLINE_H
#define VLOXLIB_HTTP_HTTPHEADERLINE_H

#include <map>
#include <string>
#include <string_view>

namespace vloxlib {

/// @brief Takes one line of a reply's head into a map of headers; a name that is there keeps its first value.
///
/// Lines without a colon (the status line, the empty last one) are passed over. A header without a value
/// reads as one blank.
void insertHeaderLine(std::string_view line, std::map<std::string, std::string>& headers);

/// @brief The start offset that a `Content-Range` header names, 0 for one that names none.
long long startOfContentRange(std::string_view value);

}  // namespace vloxlib

#endif
