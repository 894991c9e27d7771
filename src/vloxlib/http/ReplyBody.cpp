#include "vloxlib/http/ReplyBody.h"

#include <curl/curl.h>

#include <string_view>
#include <utility>

#include "vloxlib/http/HttpHeaderLine.h"

namespace vloxlib {

namespace {

constexpr std::size_t kUsualReply = 128;

}  // namespace

bool ReplyBody::take(const char* bytes, std::size_t count) {
    if (!m_begun) {
        m_begun = true;
        if (!begin()) {
            return false;
        }
    }
    if (m_request.sink && m_request.sink->wants(m_reply)) {
        return m_request.sink->take(bytes, count, m_reply);
    }
    if (m_request.replyLimit > 0 &&
        m_reply.text.size() + count > static_cast<std::size_t>(m_request.replyLimit)) {
        return refuse(CURLE_FILESIZE_EXCEEDED, "the reply has more than the " +
                                                   std::to_string(m_request.replyLimit) +
                                                   " bytes that it may have");
    }
    m_reply.text.append(bytes, count);
    return true;
}

// What nobody here can decode would pass for the body itself.
bool ReplyBody::begin() {
    if (!m_request.sink) {
        m_reply.text.reserve(kUsualReply);
    }
    const std::string_view encoding = m_reply.headers.last("Content-Encoding");
    const bool plain = encoding.empty() || encoding == " " || isSameName(encoding, "identity");
    return plain || holdsHeader(m_request.headers, "Accept-Encoding") ||
           refuse(CURLE_BAD_CONTENT_ENCODING,
                  "nobody has asked for the reply's content encoding, " + std::string(encoding));
}

bool ReplyBody::refuse(int code, std::string why) {
    m_refusal = code;
    m_why = std::move(why);
    return false;
}

bool ReplyBody::tellRefusal(ExchangeOutcome& outcome) {
    if (m_refusal == CURLE_OK) {
        return false;
    }
    outcome.curlCode = m_refusal;
    outcome.curlText = std::move(m_why);
    return true;
}

}  // namespace vloxlib
