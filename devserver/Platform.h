#ifndef DEVSERVER_PLATFORM_H
#define DEVSERVER_PLATFORM_H

#include <atomic>
#include <functional>
#include <optional>

#include "FileServices.h"
#include "Http.h"
#include "Misbehaviour.h"
#include "OtherZone.h"
#include "Statistics.h"
#include "StopSignal.h"
#include "WireFormat.h"

namespace devserver {

/// The platform's services over plain requests and replies; knows nothing of sockets.
/// Threads: answer() from any number at once, stop() from any.
class Platform {
public:
    /// @param keys  borrowed
    /// @param rule  applied to every @p every -th service request that brings none of its own
    /// @param other where a rule may send clients; without one such a rule has no effect
    /// @param files directory of the files; empty: a temporary one
    Platform(const ServerKeys& keys, bool headerRequired, Misbehaviour rule, unsigned every,
             std::optional<OtherZone> other, const std::string& files);

    /// Whether the request's body is to be left in its stream.
    static bool takesStream(const HttpRequest& request);
    HttpReply answer(const HttpRequest& request);
    std::string statistics() const { return m_statistics.toJson(m_sessions.unwrapped()); }
    /// Ends all delays and transfers, now and from now on.
    void stop() { m_stop.stop(); }

private:
    struct Target;  // a path, taken apart
    using Service = HttpReply (Platform::*)(const HttpRequest&, const Target&);
    using Decode = std::function<ServiceRequest()>;
    /// The data of a reply; what streams goes into the answer instead.
    using Content = std::function<std::string(const ServiceRequest&, const Misbehaviour&, HttpReply& answer)>;

    static Target readPath(const std::string& path);
    static Service findService(const std::string& path);

    HttpReply echo(const HttpRequest& request, const Target& target);
    HttpReply addresses(const HttpRequest& request, const Target& target);
    HttpReply files(const HttpRequest& request, const Target& target);
    HttpReply mirror(const HttpRequest& request, const Target& target);
    HttpReply stats(const HttpRequest& request, const Target& target);

    /// One service request from the wire to the wire; the content gives the data of a reply that succeeds.
    HttpReply serve(const HttpRequest& request, const Misbehaviour& ruleOfPath, const Decode& decode,
                    const Content& content);
    ServiceReply replyTo(const ServiceRequest& service, const Misbehaviour& rule, const Content& content,
                         HttpReply& answer) const;
    ServiceReply sendElsewhere(int algorithm, bool overTls) const;
    ServiceRequest decodeFields(const HttpRequest& request, const FileRequest& arrived) const;
    Misbehaviour ruleOfOption();

    SessionKeys m_sessions;
    const WireFormat m_format;
    const Misbehaviour m_rule;
    const unsigned m_every;
    const std::optional<OtherZone> m_otherZone;
    std::atomic<unsigned long long> m_serviceRequests{0};
    std::atomic<unsigned long long> m_bids{0};
    Statistics m_statistics;
    StopSignal m_stop;
    const FileServices m_files;
};

}  // namespace devserver

#endif
