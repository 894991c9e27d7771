#include "vloxlib/network/NetworkInfo.h"

#include <ctime>

#include "vloxlib/utility/RapidJsonUtils.h"

namespace vloxlib {

NetworkInfo NetworkInfo::fromJson(std::string json) {
    NetworkInfo info;
    info.setTimestamp(std::time(nullptr));
    rapidjson::Document document;
    if (!RapidJsonUtils::parse(json, document)) {
        return info;
    }
    int networkType = 0;
    if (RapidJsonUtils::getMemberInt(document, "networkType", networkType)) {
        info.setNetworkType(networkType);
    }
    RapidJsonUtils::getMemberString(document, "ipAddress", info.m_ipAddress);
    RapidJsonUtils::getMemberBool(document, "isNetworkInterfaceEnabled", info.m_isNetworkInterfaceEnabled);
    return info;
}

}  // namespace vloxlib
