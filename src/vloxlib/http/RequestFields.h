#ifndef VLOXLIB_HTTP_REQUESTFIELDS_H
#define VLOXLIB_HTTP_REQUESTFIELDS_H

#include <map>
#include <string>

namespace vloxlib {

using RequestFields = std::map<std::string, std::string>;

/// @brief Adds a field with its value escaped, up to its first NUL; a key that is there keeps its first
/// value.
/// @return false for a value that is too long to be escaped, which is logged
bool addField(RequestFields& fields, std::string key, std::string value);

/// @brief The fields in the order of their keys, as a form's body or a query has them.
std::string joinedFields(const RequestFields& fields);

/// @brief A URL with the fields as its query. Without fields a "?" at its end goes, also the caller's own.
std::string urlWithFields(const std::string& url, const RequestFields& fields);

}  // namespace vloxlib

#endif
