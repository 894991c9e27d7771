#ifndef VLOXLIB_HTTP_PINNEDADDRESS_H
#define VLOXLIB_HTTP_PINNEDADDRESS_H

#include <string>

#include "vloxlib/http/ExchangeRecords.h"

namespace vloxlib {

/// @brief Where a URL's host is to be reached, as DNSCache says. Without an address for a host that is one
/// already and for one that DNSCache doesn't know.
PinnedHost pinnedHostOf(const std::string& url);

/// @brief Tells DNSCache that an address has failed, unless there is no network to blame it on.
void reportFailure(const PinnedHost& pinned, int curlCode);

}  // namespace vloxlib

#endif
