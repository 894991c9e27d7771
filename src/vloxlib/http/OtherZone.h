#ifndef VLOXLIB_HTTP_OTHERZONE_H
#define VLOXLIB_HTTP_OTHERZONE_H

#include <memory>
#include <string>

#include "vloxlib/http/ServerInfo.h"
#include "vloxlib/utility/RapidJsonUtils.h"

namespace vloxlib {

class EncryptBridge;

/// @brief A bridge into the zone that a reply names. @see HttpHelper::generateEncryptBridge()
std::shared_ptr<EncryptBridge> bridgeToZone(SYM_ENCRYPT_TYPE symType, const std::string& zoneText,
                                            ServerInfo& serverInfo);

/// @brief A bridge into the zone that the first reply in a result names; null, and logged, without one.
std::shared_ptr<EncryptBridge> bridgeToNamedZone(const JsonValue& result, SYM_ENCRYPT_TYPE symType,
                                                 ServerInfo& serverInfo);

/// @brief The path of a URL, with its query, behind the address of another zone's server.
/// @param preferHttps which address counts where the zone has both
std::string urlInZone(const std::string& url, const ServerInfo& serverInfo, bool preferHttps);

}  // namespace vloxlib

#endif
