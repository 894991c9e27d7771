#ifndef VLOXLIB_HTTP_URLPLACEHOLDERS_H
#define VLOXLIB_HTTP_URLPLACEHOLDERS_H

#include <map>
#include <string>

namespace vloxlib {

/// @brief Replaces each `${name}` of a URL by the head parameter of that name.
/// @return 0, or -1 for a parameter that the URL doesn't use and for a value that would bring its own name in
/// again and again; those ahead of it are replaced then
int replaceUrlByHeadParams(std::string& url, const std::map<std::string, std::string>& headParams);

/// @brief A URL with all its placeholders replaced. @return empty, and logged, when they don't fit exactly
std::string filledUrl(std::string url, const std::map<std::string, std::string>& headParams);

}  // namespace vloxlib

#endif
