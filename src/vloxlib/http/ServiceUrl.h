#ifndef VLOXLIB_HTTP_SERVICEURL_H
#define VLOXLIB_HTTP_SERVICEURL_H

#include <string>

namespace vloxlib {

class ConfigManager;

/// @brief "http://" or "https://", as the configuration has it.
std::string serviceScheme(const ConfigManager& config);

/// @brief The URL of a service's path on a server, as the configuration has its scheme and prefix.
std::string serviceUrl(const ConfigManager& config, const std::string& host, const std::string& port,
                       const std::string& path);

}  // namespace vloxlib

#endif
