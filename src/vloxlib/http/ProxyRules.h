#ifndef VLOXLIB_HTTP_PROXYRULES_H
#define VLOXLIB_HTTP_PROXYRULES_H

#include <string>

namespace vloxlib {

/// @brief The proxy that libcurl takes for a host from the environment, which it reads at each exchange.
///
/// As libcurl decides it: "http_proxy" (in small letters only), "https_proxy" or "HTTPS_PROXY", for either
/// "all_proxy" or "ALL_PROXY"; and none for what "no_proxy" or "NO_PROXY" names. Threads: any.
/// @param scheme "http" or "https"
/// @param host a name; what no_proxy says of addresses isn't looked at
/// @return empty: libcurl connects to the host itself
std::string proxyFor(const std::string& scheme, const std::string& host);

}  // namespace vloxlib

#endif
