#ifndef VLOXLIB_DNSCACHE_POCOLOCALDNS_H
#define VLOXLIB_DNSCACHE_POCOLOCALDNS_H

#include <vloxlib/dnscache/IDnsProvider.h>

namespace vloxlib {

/// @brief The operating system's resolver: blocks for as long as that takes.
///
/// Gives IPv4 addresses only, each once, in the system's order and with a time to live of 60 seconds. A name
/// that has only other addresses gives a pack without any; a failure is logged and gives no pack.
class VLOX_API PocoLocalDns : public IDnsProvider {
public:
    std::shared_ptr<HttpDnsPack> requestDns(std::string domain) override;
    int getPriority() override { return 0; }
    bool isActivated() override { return true; }
    std::string getServerApi() override { return ""; }
};

}  // namespace vloxlib

#endif
