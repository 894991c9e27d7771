#ifndef VLOXLIB_DNSCACHEHELPER_DNSCACHEHELPER_H
#define VLOXLIB_DNSCACHEHELPER_DNSCACHEHELPER_H

#include <vloxlib/Noncopyable.h>
#include <vloxlib/thread/Windows/WindowsMutex.h>

#include <atomic>

namespace vloxlib {

/// Starts the name resolution of the process: its memory in the data directory and its log in the process's
/// log.
class VLOX_API DnsCacheHelper : public Noncopyable {
public:
    static DnsCacheHelper& getInstance();

    /// To be called before the first request, from any thread. @return 0, or -1 when it has been done before
    int initDNSCache();

private:
    DnsCacheHelper() = default;

    WindowsMutex m_mutex;  // held for a whole start
    std::atomic<bool> m_hasInited{false};
};

}  // namespace vloxlib

#endif
