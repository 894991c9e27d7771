#include "vloxlib/http/AddressSwap.h"

#include <Poco/Exception.h>
#include <Poco/URI.h>

#include "vloxlib/ConfigManager.h"
#include "vloxlib/utility/StringUtils.h"

namespace vloxlib {

namespace {

bool holds(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

}  // namespace

// Where the host holds both addresses, the longer one is what it is about: the other is only a part of it.
bool swapServerHost(ConfigManager& config, _ConfigKey key, std::string& host) {
    const std::string primary = config.getConfig(CONFIG_AS_HOST, std::string());
    const std::string alternate = config.getConfig(CONFIG_AS_HOST_ALTERNATE, std::string());
    if (primary.empty() || alternate.empty()) {
        return false;
    }
    const bool hasPrimary = holds(host, primary);
    const bool hasAlternate = holds(host, alternate);
    if (hasPrimary && (!hasAlternate || alternate.size() < primary.size())) {
        StringUtils::stringReplace(host, primary, alternate);
    } else if (hasAlternate && (!hasPrimary || primary.size() < alternate.size())) {
        StringUtils::stringReplace(host, alternate, primary);
    } else {
        return false;
    }
    if (key != CONFIG_AS_HOST) {
        config.setConfig(key, host);
    }
    return true;
}

bool swapServerAddress(ConfigManager& config, _ConfigKey key, std::string& url) {
    try {
        Poco::URI uri(url);
        std::string host = uri.getHost();
        if (!swapServerHost(config, key, host)) {
            return false;
        }
        uri.setHost(host);
        url = uri.toString();
        return true;
    } catch (const Poco::SyntaxException&) {
        return false;
    }
}

bool swapServerAddress(ConfigManager& config, HTTPBusinessType businessType, std::string& url) {
    switch (businessType) {
        case HTTP_BUSINESS_AS:
            return swapServerAddress(config, CONFIG_AS_HOST, url);
        case HTTP_BUSINESS_FS:
            return swapServerAddress(config, CONFIG_FS_HOST, url);
        case HTTP_BUSINESS_CDS:
            return swapServerAddress(config, CONFIG_CDS_HOST, url);
        case HTTP_BUSINESS_TOPIC:
            return swapServerAddress(config, CONFIG_TOPIC_HOST, url);
        case HTTP_BUSINESS_BLS:
            return swapServerAddress(config, CONFIG_BLS_HOST, url);
    }
    return false;
}

}  // namespace vloxlib
