#ifndef VLOXLIB_HTTP_HEADERLINES_H
#define VLOXLIB_HTTP_HEADERLINES_H

#include <memory>
#include <string>
#include <string_view>

struct curl_slist;

namespace vloxlib {

/// @brief Lines of a request's head.
using HeaderLines = std::shared_ptr<curl_slist>;

void appendLine(HeaderLines& lines, const std::string& line);

/// @brief Whether one of the lines has that name, in any case.
bool holdsHeader(const HeaderLines& lines, std::string_view name);

}  // namespace vloxlib

#endif
