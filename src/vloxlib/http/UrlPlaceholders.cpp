#include "vloxlib/http/UrlPlaceholders.h"

#include "vloxlib/log/vloxLog.h"

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

std::string filledUrl(std::string url, const std::map<std::string, std::string>& headParams) {
    if (!headParams.empty() && replaceUrlByHeadParams(url, headParams) != 0) {
        VLOX_LOG(3, "headParams should use all");
        return "";
    }
    if (url.find('$') != std::string::npos) {
        VLOX_LOG(3, "headUrl should replace all");
        return "";
    }
    return url;
}

}  // namespace vloxlib
