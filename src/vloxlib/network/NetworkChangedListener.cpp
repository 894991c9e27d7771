#include "vloxlib/network/NetworkChangedListener.h"

#include <utility>

#include "vloxlib/log/vloxLog.h"

namespace vloxlib {

NetworkChangedNoStrategy::~NetworkChangedNoStrategy() = default;

bool NetworkChangedNoStrategy::needPrompt(const NetworkInfo& /*current*/, const NetworkInfo& /*last*/) {
    return true;
}

NetworkChangedStrategy::~NetworkChangedStrategy() = default;

bool NetworkChangedStrategy::needPrompt(const NetworkInfo& current, const NetworkInfo& /*last*/) {
    VLOX_LOG(0, "currentNetworkType=%d", static_cast<int>(current.getNetworkType()));
    return current.getNetworkType() != NETWORK_TYPE_NONE;
}

NetworkChangedStrategyConcernIPvariation::~NetworkChangedStrategyConcernIPvariation() = default;

bool NetworkChangedStrategyConcernIPvariation::needPrompt(const NetworkInfo& current,
                                                          const NetworkInfo& last) {
    VLOX_LOG(0, "lastIpAddress=%s, currentIpAddress=%s", last.getIPAddress().c_str(),
             current.getIPAddress().c_str());
    return NetworkChangedStrategy::needPrompt(current, last) && current.getIPAddress() != last.getIPAddress();
}

NetworkChangedStrategyConcernNoNetworkDuration::NetworkChangedStrategyConcernNoNetworkDuration(int threshold)
    : m_threshold(threshold) {}

NetworkChangedStrategyConcernNoNetworkDuration::~NetworkChangedStrategyConcernNoNetworkDuration() = default;

bool NetworkChangedStrategyConcernNoNetworkDuration::needPrompt(const NetworkInfo& current,
                                                                const NetworkInfo& last) {
    // Without a sign, since the times are the application's to set and their difference may overflow.
    const auto duration = static_cast<int64>(static_cast<unsigned long long>(current.getTimestamp()) -
                                             static_cast<unsigned long long>(last.getTimestamp()));
    VLOX_LOG(0, "hasNoNetworkDuration=%lld", duration);
    return NetworkChangedStrategy::needPrompt(current, last) && duration > m_threshold;
}

void NetworkChangedStrategyConcernNoNetworkDuration::setThreshold(int threshold) { m_threshold = threshold; }

NetworkChangedStrategyComprehensive::NetworkChangedStrategyComprehensive(int threshold)
    : NetworkChangedStrategyConcernNoNetworkDuration(threshold) {}

NetworkChangedStrategyComprehensive::~NetworkChangedStrategyComprehensive() = default;

bool NetworkChangedStrategyComprehensive::needPrompt(const NetworkInfo& current, const NetworkInfo& last) {
    return NetworkChangedStrategyConcernIPvariation::needPrompt(current, last) ||
           NetworkChangedStrategyConcernNoNetworkDuration::needPrompt(current, last);
}

NetworkChangedListener::NetworkChangedListener(std::shared_ptr<NetworkChangedNoStrategy> strategy)
    : m_strategy(std::move(strategy)) {}

bool NetworkChangedListener::needPrompt(const NetworkInfo& current, const NetworkInfo& last) {
    return m_strategy == nullptr || m_strategy->needPrompt(current, last);
}

}  // namespace vloxlib
