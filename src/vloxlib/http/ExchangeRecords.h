/// @file
/// @brief What an exchange is asked to do, and what it says of it: a request record down, a reply record up.
#ifndef VLOXLIB_HTTP_EXCHANGERECORDS_H
#define VLOXLIB_HTTP_EXCHANGERECORDS_H

#include <atomic>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "vloxlib/Types.h"
#include "vloxlib/http/HeaderLines.h"
#include "vloxlib/http/HttpTypes.h"
#include "vloxlib/http/ReplyHeaders.h"

namespace vloxlib {

/// @brief Where a name is to be reached. Without an address libcurl resolves the name.
struct PinnedHost {
    std::string host;
    std::string port;
    std::vector<std::string> addresses;  ///< in the order in which they are tried
    int curlCode =
        0;  ///< why the exchange ends before it begins: its look-up took too long, or it was cancelled
};

/// @brief What an exchange brought.
struct ExchangeReply {
    ExchangeOutcome outcome;
    ReplyHeaders headers;
    std::string text;           ///< the body, where the request names no other place for it
    std::exception_ptr thrown;  ///< by a function of the caller's, which has ended the exchange
};

/// @brief Where a request's body comes from.
class BodySource {
public:
    virtual ~BodySource() = default;
    virtual int64 length() const = 0;  ///< in bytes
    /// @return the number of bytes given, 0 at the end; nothing ends the exchange
    virtual std::optional<std::size_t> give(char* buffer, std::size_t room) = 0;
    /// @brief Goes on from that byte of the body: a redirect may want all of it once more.
    /// @return false ends the exchange
    virtual bool goTo(int64 offset) = 0;
};

/// @brief Where a reply's body goes. Replies are what has come of them so far: the headers.
class BodySink {
public:
    virtual ~BodySink() = default;
    /// @return false for a body that goes into the reply's text, as without a sink
    virtual bool wants(const ExchangeReply& reply) const = 0;
    /// @return false ends the exchange
    virtual bool take(const char* bytes, std::size_t count, const ExchangeReply& reply) = 0;
};

/// @brief How far a transfer has come, in bytes; a total that isn't known is 0.
struct TransferProgress {
    int64 downloadTotal;
    int64 downloaded;
    int64 uploadTotal;
    int64 uploaded;
};

/// @brief One exchange as it is to be run. What is pointed to belongs to the caller and outlives the run.
struct ExchangeRequest {
    HTTPMethod method = HTTP_METHOD_GET;
    std::string url;  ///< whole, with its query
    HeaderLines headers;
    const PinnedHost* pinned = nullptr;  ///< null: the URL's host is for libcurl

    BodySource* source = nullptr;  ///< of the body of a PUT, of the last part of a POST's form; may be null
    std::string form;              ///< the body of a POST without a source
    const std::map<std::string, std::string>* parts = nullptr;  ///< of the form, ahead of the source's
    std::string partName;                                       ///< of the source's part
    std::string fileName;                                       ///< of the source's part

    BodySink* sink = nullptr;  ///< null: the reply's text
    int64 replyLimit = 0;      ///< in bytes, of the reply's text; 0 for no limit
    int stallLimit = 0;  ///< in seconds, after which a transfer below 10 bytes a second ends; 0 for none

    /// Hears of the progress on the thread of the exchange; what it throws ends the exchange.
    std::function<void(const TransferProgress&, const ExchangeReply&)> progress;
    const std::atomic<bool>* cancelled = nullptr;  ///< ends the exchange once it is true; may be null
};

}  // namespace vloxlib

#endif
