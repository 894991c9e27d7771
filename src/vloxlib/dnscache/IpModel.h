#ifndef VLOXLIB_DNSCACHE_IPMODEL_H
#define VLOXLIB_DNSCACHE_IPMODEL_H

#include <vloxlib/Noncopyable.h>
#include <vloxlib/Types.h>
#include <string>

namespace vloxlib {

/// One address of a domain with its statistics: a row of `ip_t` in the resolver's cache file.
class VLOX_API IpModel : public Noncopyable {
public:
    /// A `roundtripTime` from here on marks an address as not usable.
    static constexpr int64 UNUSABLE_ROUNDTRIP_TIME = 9999;

    bool isUsable() const { return roundtripTime < UNUSABLE_ROUNDTRIP_TIME; }
    /// @return whether what is known last of the address is a failure
    bool hasFailedLast() const { return finallyFailTime != 0 && finallyFailTime >= finallySuccessTime; }

    int id = -1;                   ///< row id; -1 until stored
    std::string domain;            ///< host name
    std::string ip;                ///< text form of the address
    int port = 0;                  ///< 0 from every provider
    std::string sp;                ///< carrier key, as on the domain
    int64 expireTime = 0;          ///< time to live in seconds, a duration
    int priority = 0;              ///< the provider's preference
    int64 roundtripTime = 0;       ///< latency; see UNUSABLE_ROUNDTRIP_TIME
    int64 successNum = 0;          ///< how often a request over this address worked
    int64 errNum = 0;              ///< how often one failed
    int64 finallySuccessTime = 0;  ///< last success, seconds since the epoch; 0: never
    int64 finallyFailTime = 0;     ///< last failure, seconds since the epoch; 0: never
    int grade = 0;                 ///< the score of ScoreManager
};

}  // namespace vloxlib

#endif
