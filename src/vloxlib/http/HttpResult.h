#ifndef VLOXLIB_HTTP_HTTPRESULT_H
#define VLOXLIB_HTTP_HTTPRESULT_H

#include "vloxlib/http/ExchangeRecords.h"

namespace vloxlib {

/// @brief Logs a failure of libcurl. @return its native code; -199 for one without a row of its own
int parseHttpResult(int curlCode);

/// @brief The reply of an exchange that ended before it began, for a reason of libcurl's.
ExchangeReply notBegun(int curlCode);
/// @brief That of one which had no handle to run on.
ExchangeReply unprepared();

/// @brief Whether a reply's body counts: by its status, or by the platform's own redirect.
bool isAccepted(const ExchangeReply& reply);

/// @brief 0 for an accepted reply, otherwise the native code of the failure, which is logged.
int resultOf(const ExchangeReply& reply);

/// @brief Takes the body out of a reply, up to its first NUL.
std::string textOf(ExchangeReply& reply);

/// @brief Logs a reply that isn't accepted. @return its native code
int refusedStatus(const ExchangeReply& reply);

}  // namespace vloxlib

#endif
