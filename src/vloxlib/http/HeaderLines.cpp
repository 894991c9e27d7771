#include "vloxlib/http/HeaderLines.h"

#include <curl/curl.h>

#include "vloxlib/http/HttpHeaderLine.h"

namespace vloxlib {

void appendLine(HeaderLines& lines, const std::string& line) {
    curl_slist* const list = curl_slist_append(lines.get(), line.c_str());
    if (!lines) {
        lines.reset(list, &curl_slist_free_all);
    }
}

bool holdsHeader(const HeaderLines& lines, std::string_view name) {
    const curl_slist* line = lines.get();
    while (line && !isSameName(readHeaderLine(line->data).name, name)) {
        line = line->next;
    }
    return line != nullptr;
}

}  // namespace vloxlib
