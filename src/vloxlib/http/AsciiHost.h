#ifndef VLOXLIB_HTTP_ASCIIHOST_H
#define VLOXLIB_HTTP_ASCIIHOST_H

#include <string>

namespace vloxlib {

/// @brief A URL with its host as resolvers and certificates know it: an international name, UTF-8, in its
/// ASCII form ("xn--..."). libcurl would convert it only in a process whose locale is UTF-8.
///
/// Letters are made small; nothing else is mapped, so a name has to be in its composed form.
/// @return the URL as it is when its host is ASCII, or can't be converted
std::string withAsciiHost(const std::string& url);

}  // namespace vloxlib

#endif
