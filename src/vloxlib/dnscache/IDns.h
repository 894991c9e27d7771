#ifndef VLOXLIB_DNSCACHE_IDNS_H
#define VLOXLIB_DNSCACHE_IDNS_H

#include <vloxlib/Noncopyable.h>
#include <list>
#include <memory>
#include <string>

namespace vloxlib {

class HttpDnsPack;

/// Asks the providers of addresses.
class VLOX_API IDns : public Noncopyable {
public:
    virtual std::shared_ptr<HttpDnsPack> requestDns(
        std::string domain) = 0;  ///< @return empty: nobody answered
    virtual std::list<std::string> getDebugInfo() = 0;
    virtual void clearDebugInfo() = 0;
};

}  // namespace vloxlib

#endif
