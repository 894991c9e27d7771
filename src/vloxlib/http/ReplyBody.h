#ifndef VLOXLIB_HTTP_REPLYBODY_H
#define VLOXLIB_HTTP_REPLYBODY_H

#include <cstddef>
#include <string>

#include "vloxlib/http/ExchangeRecords.h"

namespace vloxlib {

/// @brief Takes the body of a reply to where its request wants it, as far as it may come.
class ReplyBody {
public:
    ReplyBody(const ExchangeRequest& request, ExchangeReply& reply) : m_request(request), m_reply(reply) {}

    /// @return false ends the exchange
    bool take(const char* bytes, std::size_t count);

    /// @brief Says in the outcome why the body was refused here, for which libcurl has only "write error".
    /// @return false when it wasn't
    bool tellRefusal(ExchangeOutcome& outcome);

private:
    bool begin();
    bool refuse(int code, std::string why);

    const ExchangeRequest& m_request;
    ExchangeReply& m_reply;
    int m_refusal = 0;  // libcurl's code for it
    std::string m_why;
    bool m_begun = false;
};

}  // namespace vloxlib

#endif
