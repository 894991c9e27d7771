#ifndef VLOXLIB_DNSCACHE_SPEEDTESTMANAGER_H
#define VLOXLIB_DNSCACHE_SPEEDTESTMANAGER_H

#include <vloxlib/dnscache/ISpeedtest.h>

namespace vloxlib {

/// Takes no measurement: every address is as fast as any other.
class VLOX_API SpeedtestManager : public ISpeedtest {
public:
    int testSpeed(std::string, std::string) override { return 0; }
};

}  // namespace vloxlib

#endif
