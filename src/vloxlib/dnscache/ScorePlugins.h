/// @file
/// @brief The rules of the score. Three have a weight and no rule yet.
#ifndef VLOXLIB_DNSCACHE_SCOREPLUGINS_H
#define VLOXLIB_DNSCACHE_SCOREPLUGINS_H

#include <vloxlib/dnscache/IPlugin.h>
#include <vloxlib/dnscache/IpModel.h>

namespace vloxlib {

class VLOX_API ErrNumPlugin : public IPlugin {
public:
    void run(std::list<std::shared_ptr<IpModel>>) override {}
    float getWeight() override { return 10.0F; }
    bool isActivated() override { return true; }
};

class VLOX_API PriorityPlugin : public IPlugin {
public:
    void run(std::list<std::shared_ptr<IpModel>>) override {}
    float getWeight() override { return 60.0F; }
    bool isActivated() override { return true; }
};

class VLOX_API SpeedTestPlugin : public IPlugin {
public:
    void run(std::list<std::shared_ptr<IpModel>>) override {}
    float getWeight() override { return 40.0F; }
    bool isActivated() override { return true; }
};

/// The address with the most successes gains the whole weight, others a share in proportion.
class VLOX_API SuccessNumPlugin : public IPlugin {
public:
    void run(std::list<std::shared_ptr<IpModel>> models) override;
    float getWeight() override { return 10.0F; }
    bool isActivated() override { return true; }
};

/// @brief A success just now gains the whole weight, one of a day ago nothing.
/// @note `finallySuccessTime` is read in microseconds. Stored times are seconds, so old that they gain
/// nothing.
class VLOX_API SuccessTimePlugin : public IPlugin {
public:
    void run(std::list<std::shared_ptr<IpModel>> models) override;
    float getWeight() override { return 10.0F; }
    bool isActivated() override { return true; }
};

}  // namespace vloxlib

#endif
