#ifndef VLOXLIB_DNSCACHE_IDNSPROVIDER_H
#define VLOXLIB_DNSCACHE_IDNSPROVIDER_H

#include <vloxlib/Noncopyable.h>
#include <memory>
#include <string>

namespace vloxlib {

class HttpDnsPack;

/// A source of addresses: turns a host name into a pack. Asked by several threads at a time, for
/// different names.
class VLOX_API IDnsProvider : public Noncopyable {
public:
    virtual std::shared_ptr<HttpDnsPack> requestDns(std::string domain) = 0;  ///< @return empty: no answer
    virtual int getPriority() = 0;                                            ///< the higher is asked first
    virtual bool isActivated() = 0;          ///< whether the provider is asked at all
    virtual std::string getServerApi() = 0;  ///< the service's address; empty for a provider without one
};

}  // namespace vloxlib

#endif
