#ifndef VLOXLIB_DNSCACHE_DNSCACHELOG_H
#define VLOXLIB_DNSCACHE_DNSCACHELOG_H

#include <Poco/AutoPtr.h>

#include <vloxlib/Noncopyable.h>
#include <cstdarg>
#include <memory>
#include <mutex>
#include <string>

namespace Poco {
class Logger;
class Message;
class PatternFormatter;
}  // namespace Poco

namespace vloxlib {

/// Levels of the resolver's log; the lower, the graver.
enum DNSCache_TRACE_LEVELS : int {
    DNSCACHE_TRACE_FATAL = 1,
    DNSCACHE_TRACE_CRITICAL = 2,
    DNSCACHE_TRACE_ERROR = 3,
    DNSCACHE_TRACE_WARNING = 4,
    DNSCACHE_TRACE_NOTICE = 5,
    DNSCACHE_TRACE_INFORMATION = 6,
    DNSCACHE_TRACE_DEBUG = 7,
    DNSCACHE_TRACE_TRACE = 8
};

/// @brief The resolver's log: formats a message and hands it to a callback, the only way out.
///
/// Life: one for the process, never destroyed, since background resolves may still log while the process
/// ends; the callback is taken away when the static objects of the process go. Threads: all operations from
/// any thread. The callback runs on the thread that logs, with no lock held. A message is cut at 1023 bytes.
class VLOX_API DNSCacheLog : public Noncopyable {
public:
    using TraceCallback = void (*)(DNSCache_TRACE_LEVELS, const char*);

    static std::shared_ptr<DNSCacheLog> getInstance();
    ~DNSCacheLog() override;

    /// @param level a value of DNSCache_TRACE_LEVELS
    /// @param source the unit that logs
    /// @param format as for printf
    void log(int level, const char* source, const char* format, ...);
    /// @param source the source file, with its line
    /// @param function the function that logs
    void log(const char* source, int line, int level, const char* function, const char* format, ...);

    /// Sets the level of the POCO logger "DNSCacheLog", which this log doesn't write to.
    void setLevel(DNSCache_TRACE_LEVELS level);
    /// @param callback null: nobody listens
    void setTraceCallback(TraceCallback callback);
    /// The least grave level that the callback gets; DNSCACHE_TRACE_INFORMATION at first.
    void setTraceCallbackLevel(DNSCache_TRACE_LEVELS level);

private:
    DNSCacheLog();

    bool isWanted(int level) const;
    void send(const Poco::Message& message, int level);

    Poco::AutoPtr<Poco::PatternFormatter> m_formatter;
    Poco::AutoPtr<Poco::Logger> m_logger;
    mutable std::mutex m_mutex;                        // held while a line is formatted
    TraceCallback m_callback = nullptr;                // guarded by m_mutex
    int m_callbackLevel = DNSCACHE_TRACE_INFORMATION;  // guarded by m_mutex
};

}  // namespace vloxlib

#endif
