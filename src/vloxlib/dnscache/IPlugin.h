#ifndef VLOXLIB_DNSCACHE_IPLUGIN_H
#define VLOXLIB_DNSCACHE_IPLUGIN_H

#include <vloxlib/Noncopyable.h>
#include <list>
#include <memory>

namespace vloxlib {

class IpModel;

/// One rule of the score of addresses.
class VLOX_API IPlugin : public Noncopyable {
public:
    /// Adds to the grade of each address; the addresses are shared with the caller.
    virtual void run(std::list<std::shared_ptr<IpModel>> models) = 0;
    virtual float getWeight() = 0;   ///< the most that the rule adds
    virtual bool isActivated() = 0;  ///< whether the rule takes part
};

}  // namespace vloxlib

#endif
