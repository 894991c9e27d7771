#include "vloxlib/http/UrlPlaceholders.h"

namespace vloxlib {

// The search goes on one placeholder's length behind the last find, as the services' paths are used to:
// behind a shorter value it can step over a placeholder that follows too closely.
int replaceUrlByHeadParams(std::string& url, const std::map<std::string, std::string>& headParams) {
    for (const auto& [key, value] : headParams) {
        const std::string placeholder = "${" + key + "}";
        std::size_t found = url.find(placeholder);
        const bool endless = value.find(placeholder, placeholder.size()) != std::string::npos;
        if (found == std::string::npos || endless) {
            return -1;
        }
        for (; found != std::string::npos; found = url.find(placeholder, found + placeholder.size())) {
            url.replace(found, placeholder.size(), value);
        }
    }
    return 0;
}

}  // namespace vloxlib
