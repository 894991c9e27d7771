#include "vloxlib/http/ServiceAddresses.h"

#include <algorithm>
#include <iterator>
#include <string>

#include "vloxlib/ConfigManager.h"

namespace vloxlib {

namespace {

struct Service {
    const char* type;
    _ConfigKey addressKey;
    _ConfigKey portKey;
};

constexpr Service kServices[] = {
    {"PCS", CONFIG_PCS_HOST, CONFIG_PCS_PORT},    {"FS", CONFIG_FS_HOST, CONFIG_FS_PORT},
    {"CDS", CONFIG_CDS_HOST, CONFIG_CDS_PORT},    {"TOPIC", CONFIG_TOPIC_HOST, CONFIG_TOPIC_PORT},
    {"BLS", CONFIG_BLS_HOST, CONFIG_BLS_PORT},    {"FPS", CONFIG_FPS_HOST, CONFIG_FPS_PORT},
    {"VOIP", CONFIG_VOIP_HOST, CONFIG_VOIP_PORT},
};

// The member of an object that is a text; a number isn't taken for one.
const JsonValue* textMember(const JsonValue& object, const char* name) {
    if (!object.IsObject()) {
        return nullptr;
    }
    const auto member = object.FindMember(name);
    return member != object.MemberEnd() && member->value.IsString() ? &member->value : nullptr;
}

// The first server of a service; null when the list is missing or empty.
const JsonValue* firstServer(const JsonValue& service) {
    const auto list = service.FindMember("serverList");
    const bool usable = list != service.MemberEnd() && list->value.IsArray() && !list->value.Empty();
    return usable ? &list->value[0] : nullptr;
}

// "PCS" speaks its own protocol, which is plain TCP unless configured otherwise.
const char* portMemberOf(const Service& service, const ConfigManager& config) {
    const bool https = config.getConfig(CONFIG_WEB_REQUEST_MODE, 0) != 0;
    const bool tcp = service.addressKey == CONFIG_PCS_HOST &&
                     config.getConfig(CONFIG_SERVER_PROTOCOL, std::string("tcp")) == "tcp";
    return https && !tcp ? "httpsPort" : "port";
}

// False for an element that can't be read.
bool storeAddress(const JsonValue& service, ConfigManager& config) {
    const JsonValue* const type = textMember(service, "type");
    const JsonValue* const server = type != nullptr ? firstServer(service) : nullptr;
    if (server == nullptr) {
        return false;
    }
    const auto known = std::find_if(std::begin(kServices), std::end(kServices),
                                    [&](const Service& row) { return *type == row.type; });
    const JsonValue* const address = textMember(*server, "serverAddr");
    if (known == std::end(kServices) || address == nullptr) {
        return true;
    }
    int port = 0;
    const bool hasPort = RapidJsonUtils::getMemberInt(*server, portMemberOf(*known, config), port);
    config.setConfig(known->addressKey, std::string(address->GetString()));
    config.setConfig(known->portKey, hasPort ? std::to_string(port) : std::string());
    return true;
}

}  // namespace

void storeServiceAddresses(const JsonValue& services, ConfigManager& config) {
    if (!services.IsArray()) {
        return;
    }
    for (const JsonValue& service : services.GetArray()) {
        if (!storeAddress(service, config)) {
            return;
        }
    }
}

}  // namespace vloxlib
