#include "vloxlib/http/HttpRequestShare.h"

#include "vloxlib/thread/Windows/WindowsMutex.h"

namespace vloxlib {

CURLSH* HttpRequestShare::s_share_handle = nullptr;
WindowsMutex& HttpRequestShare::mMutex = *new WindowsMutex;

HttpRequestShare& HttpRequestShare::instance() {
    static auto* const share = new HttpRequestShare;
    return *share;
}

HttpRequestShare::HttpRequestShare() {
    s_share_handle = curl_share_init();
    curl_share_setopt(s_share_handle, CURLSHOPT_LOCKFUNC, &HttpRequestShare::lock);
    curl_share_setopt(s_share_handle, CURLSHOPT_UNLOCKFUNC, &HttpRequestShare::unlock);
}

HttpRequestShare::~HttpRequestShare() { curl_share_cleanup(s_share_handle); }

void HttpRequestShare::setShareHandle(void* curl) { curl_easy_setopt(curl, CURLOPT_SHARE, s_share_handle); }

void HttpRequestShare::lock(void*, curl_lock_data, curl_lock_access, void*) { mMutex.lock(); }

void HttpRequestShare::unlock(void*, curl_lock_data, void*) { mMutex.unLock(); }

}  // namespace vloxlib
