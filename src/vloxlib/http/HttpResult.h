#ifndef VLOXLIB_HTTP_HTTPRESULT_H
#define VLOXLIB_HTTP_HTTPRESULT_H

namespace vloxlib {

// Native codes of an exchange.
constexpr int kExchangeCancelled = -109;
constexpr int kExchangeUnknown = -199;
constexpr int kExchangeInvalidArgument = -201;

/// @brief Logs a failure of libcurl. @return its native code; -199 for one without a row of its own
int parseHttpResult(int curlCode);

}  // namespace vloxlib

#endif
