#ifndef VLOXLIB_DNSCACHE_DOMAINMODEL_H
#define VLOXLIB_DNSCACHE_DOMAINMODEL_H

#include <vloxlib/Noncopyable.h>
#include <vloxlib/Types.h>
#include <list>
#include <memory>
#include <string>

namespace vloxlib {

class IpModel;

/// A domain with its addresses: a row of `domain_t` in the resolver's cache file, and those of `ip_t` behind
/// it.
class VLOX_API DomainModel : public Noncopyable {
public:
    /// The addresses that may be used, in their order.
    std::list<std::shared_ptr<IpModel>> getUsableIps() const;
    /// @return whether there is no usable address. No time is looked at: an address is good until it is
    /// deleted.
    bool isExpired() const;

    std::string domain;     ///< host name
    std::string sp;         ///< carrier key; empty in practice
    int64 expireTime = 0;   ///< the shortest time to live in seconds, at most 60; a duration
    int64 finallyTime = 0;  ///< when the row was made, seconds since the epoch
    std::list<std::shared_ptr<IpModel>> ipModels;
};

}  // namespace vloxlib

#endif
