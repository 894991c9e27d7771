#ifndef DEVSERVER_PLATFORM_H
#define DEVSERVER_PLATFORM_H

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>

#include "Http.h"
#include "Misbehaviour.h"
#include "OtherZone.h"
#include "Statistics.h"
#include "WireFormat.h"

namespace devserver {

/// The platform's services over plain requests and replies; knows nothing of sockets.
/// Threads: answer() from any number at once, stop() from any.
class Platform {
public:
    /// @param keys  borrowed
    /// @param rule  applied to every @p every -th service request that brings none of its own
    /// @param other where a rule may send clients; without one such a rule has no effect
    Platform(const ServerKeys& keys, bool headerRequired, Misbehaviour rule, unsigned every,
             std::optional<OtherZone> other);

    HttpReply answer(const HttpRequest& request);
    std::string statistics() const { return m_statistics.toJson(m_sessions.unwrapped()); }
    /// Ends all delays, now and from now on.
    void stop();

private:
    struct Target;  // a path, taken apart
    using Service = HttpReply (Platform::*)(const HttpRequest&, const Target&);
    using Content = std::function<std::string(const ServiceRequest&, const Misbehaviour&)>;

    static Target readPath(const std::string& path);
    static Service findService(const std::string& path);

    HttpReply echo(const HttpRequest& request, const Target& target);
    HttpReply addresses(const HttpRequest& request, const Target& target);
    HttpReply mirror(const HttpRequest& request, const Target& target);
    HttpReply stats(const HttpRequest& request, const Target& target);

    /// One service request from the wire to the wire; the content gives the data of a reply that succeeds.
    HttpReply serve(const HttpRequest& request, const Misbehaviour& ruleOfPath, const Content& content);
    ServiceReply replyTo(const ServiceRequest& service, const Misbehaviour& rule,
                         const Content& content) const;
    HttpReply sendReply(const ServiceReply& reply, const SessionCipher* cipher);
    Misbehaviour ruleOfOption();
    void wait(std::chrono::milliseconds delay);

    SessionKeys m_sessions;
    const WireFormat m_format;
    const Misbehaviour m_rule;
    const unsigned m_every;
    const std::optional<OtherZone> m_otherZone;
    std::atomic<unsigned long long> m_serviceRequests{0};
    std::atomic<unsigned long long> m_bids{0};
    Statistics m_statistics;

    std::mutex m_mutex;
    std::condition_variable m_stop;
    bool m_stopped = false;  // guarded by m_mutex
};

}  // namespace devserver

#endif
