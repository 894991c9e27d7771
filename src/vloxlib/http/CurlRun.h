#ifndef VLOXLIB_HTTP_CURLRUN_H
#define VLOXLIB_HTTP_CURLRUN_H

#include <curl/curl.h>

#include "vloxlib/http/ExchangeRecords.h"

namespace vloxlib {

/// What an exchange may speak, and where redirects may lead.
constexpr char kSchemes[] = "http,https";

/// @brief Lends a request to a handle, runs it, and takes back what was lent. Errors stand in the reply.
ExchangeReply runOn(CURL* curl, const ExchangeRequest& request);

}  // namespace vloxlib

#endif
