#ifndef VLOXLIB_HTTP_PINNEDADDRESS_H
#define VLOXLIB_HTTP_PINNEDADDRESS_H

#include <string>

#include "vloxlib/dnscache/DNSCache.h"
#include "vloxlib/http/ExchangeRecords.h"

namespace vloxlib {

/// @brief Where a URL's host is to be reached, as DNSCache says. Without an address for a host that is one
/// already, for one that libcurl reaches through a proxy, and for one that DNSCache doesn't know.
PinnedHost pinnedHostOf(const std::string& url, const ResolvePatience& patience);

/// @brief Tells DNSCache how an exchange has gone over its addresses, unless there is no network to blame a
/// failure on.
/// @param failed what the exchange's caller is told
void reportOutcome(const PinnedHost& pinned, const ExchangeOutcome& outcome, bool failed);

}  // namespace vloxlib

#endif
