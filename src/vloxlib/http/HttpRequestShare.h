#ifndef VLOXLIB_HTTP_HTTPREQUESTSHARE_H
#define VLOXLIB_HTTP_HTTPREQUESTSHARE_H

#include <curl/curl.h>
#include <vloxlib/Export.h>
#include <vloxlib/Noncopyable.h>

namespace vloxlib {

class WindowsMutex;

/// @brief The process's one libcurl share object. It carries no data; only its locking takes part.
///
/// Threads: all operations from any thread. It is never destroyed, since a thread may still be inside an
/// exchange when the process ends.
class VLOX_API HttpRequestShare : public Noncopyable {
public:
    /// The one instance, made on first use.
    static HttpRequestShare& instance();
    /// Attaches the share object to an easy handle, which instance() must have been called for before.
    static void setShareHandle(void* curl);
    static void lock(void* handle, curl_lock_data data, curl_lock_access access, void* user);
    static void unlock(void* handle, curl_lock_data data, void* user);

private:
    HttpRequestShare();
    ~HttpRequestShare() override;

    static CURLSH* s_share_handle;
    static WindowsMutex& mMutex;
};

}  // namespace vloxlib

#endif
