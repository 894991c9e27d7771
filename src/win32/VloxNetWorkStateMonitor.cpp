#include "win32/VloxNetWorkStateMonitor.h"

#include <atomic>
#include <cstdlib>
#include <string>

#include "platform/AddressChanges.h"
#include "vloxlib/Types.h"
#include "vloxlib/log/vloxLog.h"
#include "vloxlib/network/NetworkMonitor.h"
#include "vloxlib/utility/RapidJsonUtils.h"

namespace vloxlib {

namespace {

int64 nextToken() {
    static std::atomic<int64> next{std::rand() % 10000};
    return next++;
}

std::string networkInfoJson(const std::string& token) {
    rapidjson::Document info;
    rapidjson::Document::AllocatorType& allocator = info.GetAllocator();
    info.SetObject();
    info.AddMember("networkType", static_cast<int>(NETWORK_TYPE_CONNECTED), allocator);
    info.AddMember("ipAddress", JsonValue(token.c_str(), allocator), allocator);
    return RapidJsonUtils::jsonToString(info);
}

}  // namespace

void NetWorkStateMonitor::work() {
    platform::AddressChanges addressChanges;
    while (true) {
        addressChanges.wait();
        const std::string json = networkInfoJson(std::to_string(nextToken()));
        VLOX_LOG(3, "notifyNetworkStatusChanged %s", json.c_str());
        NetworkMonitor::getInstance()->notifyNetworkStatusChanged(json);
    }
}

}  // namespace vloxlib
