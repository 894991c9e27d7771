/// @file
/// @brief Who hears of a change of the network, and the strategies that decide which changes are worth
/// telling.
#ifndef VLOXLIB_NETWORK_NETWORKCHANGEDLISTENER_H
#define VLOXLIB_NETWORK_NETWORKCHANGEDLISTENER_H

#include <vloxlib/Export.h>
#include <vloxlib/network/NetworkInfo.h>
#include <memory>

namespace vloxlib {

/// @brief Tells every notification. Base of the strategies; they are copyable values.
/// @note The order of the virtual operations is part of the binary interface, here and in the classes below.
class VLOX_API NetworkChangedNoStrategy {
public:
    virtual ~NetworkChangedNoStrategy();
    /// @param last the last notification that had a network, with the time of the last one of any kind
    virtual bool needPrompt(const NetworkInfo& current, const NetworkInfo& last);
};

/// @brief Tells whenever there is a network.
class VLOX_API NetworkChangedStrategy : public NetworkChangedNoStrategy {
public:
    ~NetworkChangedStrategy() override;
    bool needPrompt(const NetworkInfo& current, const NetworkInfo& last) override;
};

/// @brief Tells when there is a network with another address text than before; case counts.
class VLOX_API NetworkChangedStrategyConcernIPvariation : public virtual NetworkChangedStrategy {
public:
    ~NetworkChangedStrategyConcernIPvariation() override;
    bool needPrompt(const NetworkInfo& current, const NetworkInfo& last) override;
};

/// @brief Tells when there is a network and the notification before it is longer ago than a threshold.
class VLOX_API NetworkChangedStrategyConcernNoNetworkDuration : public virtual NetworkChangedStrategy {
public:
    /// @param threshold in seconds; a gap of exactly that length isn't told
    explicit NetworkChangedStrategyConcernNoNetworkDuration(int threshold = 60);
    ~NetworkChangedStrategyConcernNoNetworkDuration() override;
    bool needPrompt(const NetworkInfo& current, const NetworkInfo& last) override;
    void setThreshold(int threshold);

private:
    int m_threshold;
};

/// @brief Tells what either of its two bases tells.
class VLOX_API NetworkChangedStrategyComprehensive : public NetworkChangedStrategyConcernIPvariation,
                                                     public NetworkChangedStrategyConcernNoNetworkDuration {
public:
    explicit NetworkChangedStrategyComprehensive(int threshold = 60);
    ~NetworkChangedStrategyComprehensive() override;
    bool needPrompt(const NetworkInfo& current, const NetworkInfo& last) override;
};

/// @brief Base of those who want to hear of network changes; registered with NetworkMonitor.
///
/// Threads: called on the notifying thread, one at a time, so that a slow listener holds up all others. Must
/// not register or unregister from within onNetworkChanged().
/// @note The order of the virtual operations is part of the binary interface; the destructor isn't one of
/// them.
class VLOX_API NetworkChangedListener {
public:
    /// @param strategy shared; none at all tells everything
    explicit NetworkChangedListener(std::shared_ptr<NetworkChangedNoStrategy> strategy =
                                        std::make_shared<NetworkChangedStrategyComprehensive>(60));

    virtual void onNetworkChanged(const NetworkInfo& current) = 0;
    virtual bool needPrompt(const NetworkInfo& current, const NetworkInfo& last);

protected:
    ~NetworkChangedListener() = default;

    std::shared_ptr<NetworkChangedNoStrategy> m_strategy;
};

}  // namespace vloxlib

#endif
