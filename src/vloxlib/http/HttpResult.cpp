#include "vloxlib/http/HttpResult.h"

#include <curl/curl.h>

#include <cstring>
#include <utility>

#include "vloxlib/NativeCodes.h"
#include "vloxlib/log/vloxLog.h"

namespace vloxlib {

namespace {

int nativeFromCurl(int curlCode) {
    switch (curlCode) {
        case CURLE_URL_MALFORMAT:
            return native::kMalformedUrl;
        case CURLE_COULDNT_RESOLVE_PROXY:
            return native::kProxyNotResolved;
        case CURLE_COULDNT_RESOLVE_HOST:
            return native::kNotResolved;
        case CURLE_COULDNT_CONNECT:
            return native::kNotConnected;
        case CURLE_REMOTE_ACCESS_DENIED:
            return native::kAccessDenied;
        case CURLE_WRITE_ERROR:
            return native::kWriteFailed;
        case CURLE_READ_ERROR:
        case CURLE_FILE_COULDNT_READ_FILE:
            return native::kReadFailed;
        case CURLE_OPERATION_TIMEDOUT:
            return native::kTimedOut;
        default:
            return native::kUnknown;
    }
}

}  // namespace

int parseHttpResult(int curlCode) {
    VLOX_LOG(3, "curl error result = %d, error info = %s", curlCode,
             curl_easy_strerror(static_cast<CURLcode>(curlCode)));
    return nativeFromCurl(curlCode);
}

ExchangeReply notBegun(int curlCode) {
    ExchangeReply reply;
    reply.outcome.curlCode = curlCode;
    reply.outcome.curlText = curl_easy_strerror(static_cast<CURLcode>(curlCode));
    return reply;
}

ExchangeReply unprepared() { return notBegun(CURLE_BAD_FUNCTION_ARGUMENT); }

bool isAccepted(const ExchangeReply& reply) {
    const long status = reply.outcome.status;
    return status == 200 || status == 302 || !reply.headers.last("Redirect").empty();
}

int resultOf(const ExchangeReply& reply) {
    if (reply.outcome.curlCode != CURLE_OK) {
        return parseHttpResult(reply.outcome.curlCode);
    }
    return isAccepted(reply) ? 0 : refusedStatus(reply);
}

std::string textOf(ExchangeReply& reply) {
    reply.text.resize(std::strlen(reply.text.c_str()));
    return std::move(reply.text);
}

int refusedStatus(const ExchangeReply& reply) {
    VLOX_LOG(4, "http fail httpCode = %d", static_cast<int>(reply.outcome.status));
    return native::kUnknown;
}

}  // namespace vloxlib
