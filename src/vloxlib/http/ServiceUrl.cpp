#include "vloxlib/http/ServiceUrl.h"

#include "vloxlib/ConfigManager.h"

namespace vloxlib {

std::string serviceScheme(const ConfigManager& config) {
    return config.getConfig(CONFIG_WEB_REQUEST_MODE, 0) == 0 ? "http://" : "https://";
}

std::string serviceUrl(const ConfigManager& config, const std::string& host, const std::string& port,
                       const std::string& path) {
    const bool prefixed = config.getConfig(CONFIG_URL_SERVICE_PREFIX, 1) != 0;
    return serviceScheme(config) + host + ":" + port + (prefixed ? "/vlox/" : "/") + path;
}

}  // namespace vloxlib
