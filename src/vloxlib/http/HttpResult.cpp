#include "vloxlib/http/HttpResult.h"

#include <curl/curl.h>

#include "vloxlib/log/vloxLog.h"

namespace vloxlib {

namespace {

int nativeFromCurl(int curlCode) {
    switch (curlCode) {
        case CURLE_URL_MALFORMAT:
            return -803;
        case CURLE_COULDNT_RESOLVE_PROXY:
            return -805;
        case CURLE_COULDNT_RESOLVE_HOST:
            return -806;
        case CURLE_COULDNT_CONNECT:
            return -807;
        case CURLE_REMOTE_ACCESS_DENIED:
            return -809;
        case CURLE_WRITE_ERROR:
            return -823;
        case CURLE_READ_ERROR:
        case CURLE_FILE_COULDNT_READ_FILE:
            return -826;
        case CURLE_OPERATION_TIMEDOUT:
            return -828;
        default:
            return kExchangeUnknown;
    }
}

}  // namespace

int parseHttpResult(int curlCode) {
    VLOX_LOG(3, "curl error result = %d, error info = %s", curlCode,
             curl_easy_strerror(static_cast<CURLcode>(curlCode)));
    return nativeFromCurl(curlCode);
}

}  // namespace vloxlib
