#include "vloxlib/dnscache/DNSCacheLog.h"

#include <Poco/ConsoleChannel.h>
#include <Poco/FormattingChannel.h>
#include <Poco/Logger.h>
#include <Poco/Message.h>
#include <Poco/PatternFormatter.h>
#include <Poco/SplitterChannel.h>

#include <algorithm>
#include <cstdio>

namespace vloxlib {

namespace {

constexpr std::size_t kLongestMessage = 1024;

std::string formatted(const char* format, std::va_list arguments) {
    char text[kLongestMessage];
    return std::vsnprintf(text, sizeof text, format, arguments) < 0 ? std::string() : std::string(text);
}

// POCO has a name for its own priorities only and refuses others.
Poco::Message::Priority priorityOf(int level) {
    return static_cast<Poco::Message::Priority>(
        std::clamp<int>(level, Poco::Message::PRIO_FATAL, Poco::Message::PRIO_TRACE));
}

Poco::AutoPtr<Poco::PatternFormatter> makeFormatter() {
    Poco::AutoPtr<Poco::PatternFormatter> formatter(
        new Poco::PatternFormatter("[%Y-%m-%d  %H:%M:%S] [%U %u] [%s] %p: %t"));
    formatter->setProperty("times", "local");
    return formatter;
}

Poco::AutoPtr<Poco::Logger> makeLogger(const Poco::AutoPtr<Poco::PatternFormatter>& formatter) {
    Poco::AutoPtr<Poco::SplitterChannel> splitter(new Poco::SplitterChannel);
    splitter->addChannel(Poco::AutoPtr<Poco::Channel>(new Poco::ConsoleChannel));
    Poco::AutoPtr<Poco::Logger> logger(&Poco::Logger::get("DNSCacheLog"), true);
    logger->setChannel(Poco::AutoPtr<Poco::Channel>(new Poco::FormattingChannel(formatter, splitter)));
    return logger;
}

// Takes the callback away when the process ends: what it leads to, POCO's time zone included, is about to go.
struct Silencer {
    ~Silencer() { log.setTraceCallback(nullptr); }
    DNSCacheLog& log;
};

}  // namespace

std::shared_ptr<DNSCacheLog> DNSCacheLog::getInstance() {
    static const auto& instance = *new std::shared_ptr<DNSCacheLog>(new DNSCacheLog);
    static const Silencer silencer{*instance};
    return instance;
}

DNSCacheLog::DNSCacheLog() : m_formatter(makeFormatter()), m_logger(makeLogger(m_formatter)) {}

DNSCacheLog::~DNSCacheLog() = default;

void DNSCacheLog::log(int level, const char* source, const char* format, ...) {
    if (!isWanted(level)) {
        return;
    }
    std::va_list arguments;
    va_start(arguments, format);
    const std::string text = formatted(format, arguments);
    va_end(arguments);
    send(Poco::Message(source, text, priorityOf(level)), level);
}

void DNSCacheLog::log(const char* source, int line, int level, const char* function, const char* format,
                      ...) {
    if (!isWanted(level)) {
        return;
    }
    std::va_list arguments;
    va_start(arguments, format);
    const std::string text = formatted(format, arguments);
    va_end(arguments);
    send(Poco::Message(function, text, priorityOf(level), source, line), level);
}

bool DNSCacheLog::isWanted(int level) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_callback != nullptr && level <= m_callbackLevel;
}

void DNSCacheLog::send(const Poco::Message& message, int level) {
    TraceCallback callback = nullptr;
    std::string line;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        callback = m_callback;
        if (callback == nullptr) {
            return;
        }
        m_formatter->format(message, line);
    }
    callback(static_cast<DNSCache_TRACE_LEVELS>(level), line.c_str());
}

void DNSCacheLog::setLevel(DNSCache_TRACE_LEVELS level) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_logger->setLevel(level);
}

void DNSCacheLog::setTraceCallback(TraceCallback callback) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_callback = callback;
}

void DNSCacheLog::setTraceCallbackLevel(DNSCache_TRACE_LEVELS level) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_callbackLevel = level;
}

}  // namespace vloxlib
