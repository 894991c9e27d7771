#ifndef VLOXLIB_DNSCACHE_IP_H
#define VLOXLIB_DNSCACHE_IP_H

#include <vloxlib/Noncopyable.h>
#include <vloxlib/Types.h>
#include <string>

namespace vloxlib {

/// One address as a provider gives it.
class VLOX_API IP : public Noncopyable {
public:
    std::string ip;    ///< text form of the address
    int64 ttl = 60;    ///< time to live in seconds
    int priority = 0;  ///< the provider's preference
};

}  // namespace vloxlib

#endif
