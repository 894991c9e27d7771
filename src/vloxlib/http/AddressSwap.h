/// @file
/// @brief The two addresses of the "AS" server, where the one takes the other's place.
#ifndef VLOXLIB_HTTP_ADDRESSSWAP_H
#define VLOXLIB_HTTP_ADDRESSSWAP_H

#include <string>

#include "vloxlib/ConfigKey.h"
#include "vloxlib/http/HttpTypes.h"

namespace vloxlib {

class ConfigManager;

/// @brief Swaps them in a host, wherever the host holds one, and keeps the new host under the key.
/// @param key CONFIG_AS_HOST: it is kept nowhere
/// @return false, with all unchanged: there is nothing to swap
bool swapServerHost(ConfigManager& config, _ConfigKey key, std::string& host);

/// @brief The same with a URL's host.
bool swapServerAddress(ConfigManager& config, _ConfigKey key, std::string& url);
/// @brief The same, under the key of a kind of server.
bool swapServerAddress(ConfigManager& config, HTTPBusinessType businessType, std::string& url);

}  // namespace vloxlib

#endif
