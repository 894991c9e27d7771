#include "vloxlib/http/OtherZone.h"

#include <algorithm>

#include "vloxlib/ServiceVocabulary.h"
#include "vloxlib/encrypt/EncryptBridge.h"
#include "vloxlib/log/vloxLog.h"
#include "vloxlib/utility/LoggedContent.h"
#include "vloxlib/utility/RapidJsonUtils.h"

namespace vloxlib {

namespace {

// Where the path begins. Ten characters reach from either scheme into a host of three or more; behind a
// shorter one the path loses its first name, as other clients of the zones have it.
std::size_t pathStart(const std::string& url) {
    constexpr std::size_t withinHost = 10;
    return std::min(url.find('/', std::min(withinHost, url.size())), url.size());
}

}  // namespace

std::shared_ptr<EncryptBridge> bridgeToZone(SYM_ENCRYPT_TYPE symType, const std::string& zoneText,
                                            ServerInfo& serverInfo) {
    rapidjson::Document zone;
    std::string publicKey;
    std::string parameters;
    int asymType = 0;
    if (!RapidJsonUtils::parse(zoneText, zone) ||
        !RapidJsonUtils::getMemberString(zone, "otherZonePublicKey", publicKey) ||
        !RapidJsonUtils::getMemberString(zone, "otherZoneIbcPubParam", parameters) ||
        !RapidJsonUtils::getMemberInt(zone, "otherZoneAsymmetricCryptoType", asymType)) {
        VLOX_LOG(4, "json parse error, encryptInfo=%s", loggedContent(zoneText).c_str());
        return nullptr;
    }
    serverInfo.asymEncryptType = static_cast<ASYM_ENCRYPT_TYPE>(asymType);
    // Both land in the one field: a zone that has an address for TLS is reached there.
    RapidJsonUtils::getMemberString(zone, "otherZoneHttpPublicAddress", serverInfo.httpAddress);
    RapidJsonUtils::getMemberString(zone, "otherZoneHttpsPublicAddress", serverInfo.httpAddress);
    return std::make_shared<EncryptBridge>(symType, serverInfo.asymEncryptType, publicKey, parameters);
}

std::shared_ptr<EncryptBridge> bridgeToNamedZone(const JsonValue& result, SYM_ENCRYPT_TYPE symType,
                                                 ServerInfo& serverInfo) {
    std::string zone;
    if (!RapidJsonUtils::getMemberString(result, PARA_DATA, zone)) {
        VLOX_LOG(4, "json error");
        return nullptr;
    }
    auto bridge = bridgeToZone(symType, zone, serverInfo);
    if (!bridge) {
        VLOX_LOG(4, "encryptBridge is null");
    } else if (bridge->getSecretKeyBase64().empty()) {
        VLOX_LOG(4, "no session key for the other zone");
        bridge.reset();
    }
    return bridge;
}

std::string urlInZone(const std::string& url, const ServerInfo& serverInfo, bool preferHttps) {
    const bool both = !serverInfo.httpAddress.empty() && !serverInfo.httpsAddress.empty();
    const bool https = both ? preferHttps : serverInfo.httpAddress.empty();
    std::string moved =
        (https ? serverInfo.httpsAddress : serverInfo.httpAddress) + url.substr(pathStart(url));
    VLOX_LOG(2, "urlStr=%s", moved.c_str());
    return moved;
}

}  // namespace vloxlib
