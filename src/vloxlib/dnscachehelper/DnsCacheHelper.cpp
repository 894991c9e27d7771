#include "vloxlib/dnscachehelper/DnsCacheHelper.h"

#include "vloxlib/Context.h"
#include "vloxlib/dnscache/DNSCache.h"
#include "vloxlib/dnscache/DNSCacheLog.h"
#include "vloxlib/log/vloxLog.h"

namespace vloxlib {

namespace {

int loggerLevelOf(DNSCache_TRACE_LEVELS level) {
    switch (level) {
        case DNSCACHE_TRACE_FATAL:
            return 5;
        case DNSCACHE_TRACE_CRITICAL:
        case DNSCACHE_TRACE_ERROR:
            return 4;
        case DNSCACHE_TRACE_WARNING:
        case DNSCACHE_TRACE_NOTICE:
            return 3;
        case DNSCACHE_TRACE_INFORMATION:
            return 2;
        case DNSCACHE_TRACE_DEBUG:
            return 1;
        default:
            return 0;
    }
}

void forwardToLogger(DNSCache_TRACE_LEVELS level, const char* text) {
    VLOX_LOG(loggerLevelOf(level), "%s", text);
}

}  // namespace

DnsCacheHelper& DnsCacheHelper::getInstance() {
    static auto& instance = *new DnsCacheHelper;  // never destroyed: requests may outlive static objects
    return instance;
}

int DnsCacheHelper::initDNSCache() {
    VLOX_LOG(2, "hasInited:%s", m_hasInited ? "true" : "false");
    const WindowsMutexGuard lock(m_mutex);
    if (m_hasInited) {
        return -1;
    }
    DNSCacheLog::getInstance()->setTraceCallback(forwardToLogger);
    DNSCache::getInstance()->init(Context::getInstance()->getContext(CONTEXT_DATA_DIR, std::string("./")));
    m_hasInited = true;
    return 0;
}

}  // namespace vloxlib
