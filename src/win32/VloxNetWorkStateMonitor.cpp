#include "win32/VloxNetWorkStateMonitor.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <utility>

#include "platform/AddressChanges.h"
#include "vloxlib/Types.h"
#include "vloxlib/log/vloxLog.h"
#include "vloxlib/network/NetworkMonitor.h"
#include "vloxlib/utility/RapidJsonUtils.h"

namespace vloxlib {

namespace {

constexpr int kRetrySeconds = 10;

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
    for (bool told = false;;) {
        if (!addressChanges.wait()) {
            if (!std::exchange(told, true)) {
                VLOX_LOG(4, "address changes can't be watched, tried again every %d s", kRetrySeconds);
            }
            std::this_thread::sleep_for(std::chrono::seconds(kRetrySeconds));
            continue;
        }
        told = false;
        const std::string json = networkInfoJson(std::to_string(nextToken()));
        VLOX_LOG(3, "notifyNetworkStatusChanged %s", json.c_str());
        NetworkMonitor::getInstance()->notifyNetworkStatusChanged(json);
    }
}

}  // namespace vloxlib
