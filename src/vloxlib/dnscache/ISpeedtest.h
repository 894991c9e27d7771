#ifndef VLOXLIB_DNSCACHE_ISPEEDTEST_H
#define VLOXLIB_DNSCACHE_ISPEEDTEST_H

#include <vloxlib/Noncopyable.h>
#include <string>

namespace vloxlib {

/// The place of a latency measurement.
class VLOX_API ISpeedtest : public Noncopyable {
public:
    virtual int testSpeed(std::string ip, std::string host) = 0;
};

}  // namespace vloxlib

#endif
