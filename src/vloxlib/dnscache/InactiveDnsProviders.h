/// @file
/// @brief Places for sources of addresses that have no service behind them.
#ifndef VLOXLIB_DNSCACHE_INACTIVEDNSPROVIDERS_H
#define VLOXLIB_DNSCACHE_INACTIVEDNSPROVIDERS_H

#include <vloxlib/dnscache/HttpDnsPack.h>
#include <vloxlib/dnscache/IDnsProvider.h>

namespace vloxlib {

/// A provider that stands in the walk and is never asked.
class VLOX_API InactiveDnsProvider : public IDnsProvider {
public:
    std::shared_ptr<HttpDnsPack> requestDns(std::string) override { return nullptr; }
    int getPriority() override { return 0; }
    bool isActivated() override { return false; }
    std::string getServerApi() override { return ""; }
};

class VLOX_API LocalDns : public InactiveDnsProvider {};
class VLOX_API CaresDns : public InactiveDnsProvider {};
class VLOX_API TencentHttpDns : public InactiveDnsProvider {};
class VLOX_API DNSPodHttpDns : public InactiveDnsProvider {};
class VLOX_API AliyunHttpDns : public InactiveDnsProvider {};

}  // namespace vloxlib

#endif
