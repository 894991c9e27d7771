#ifndef DEVSERVER_WIREFORMAT_H
#define DEVSERVER_WIREFORMAT_H

#include <memory>
#include <stdexcept>
#include <string>

#include "Http.h"
#include "Json.h"

namespace devserver {

/// Turns the texts of one session into what travels and back.
class SessionCipher {
public:
    virtual ~SessionCipher() = default;
    virtual bool encrypted() const = 0;
    virtual std::string encrypt(const std::string& plain) const = 0;
    /// Throws WireError.
    virtual std::string decrypt(const std::string& cipher) const = 0;
};

/// A service request, checked and in the clear.
struct ServiceRequest {
    std::string appId;  ///< only an encrypted request names it
    rapidjson::Document params;
    rapidjson::Document header;  ///< what "VLOX-Ext" held; null without that header
    std::shared_ptr<const SessionCipher> cipher;
};

struct ServiceReply {
    int code = 0;
    std::string desc;
    std::string data;  ///< in the clear; empty: none
};

/// A request that breaks the wire format: the wire code that the client gets, and why.
class WireError : public std::runtime_error {
public:
    WireError(int code, const std::string& why) : std::runtime_error(why), m_code(code) {}
    int code() const { return m_code; }

private:
    int m_code;
};

constexpr int kWireBadRequest = 10001;  ///< fields, header or parameters are not what they should be
constexpr int kWireBadSession = 10008;  ///< the session key can't be had, or doesn't fit the content

class WireFormat {
public:
    /// @param headerRequired refuse requests without the header "VLOX-Ext"
    explicit WireFormat(bool headerRequired) : m_headerRequired(headerRequired) {}

    /// Throws WireError.
    ServiceRequest decode(const HttpRequest& request) const;
    /// The reply envelope. Without a cipher, data stays out: nobody could read it.
    static std::string encode(const ServiceReply& reply, const std::string& bid, const SessionCipher* cipher);

private:
    bool m_headerRequired;
};

}  // namespace devserver

#endif
