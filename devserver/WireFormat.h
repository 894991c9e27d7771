#ifndef DEVSERVER_WIREFORMAT_H
#define DEVSERVER_WIREFORMAT_H

#include <map>
#include <memory>
#include <string>

#include "Http.h"
#include "Json.h"
#include "SessionKeys.h"
#include "WireError.h"

namespace devserver {

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

class WireFormat {
public:
    /// @param headerRequired refuse requests without the header "VLOX-Ext"
    /// @param sessions       borrowed
    WireFormat(bool headerRequired, SessionKeys& sessions)
        : m_headerRequired(headerRequired), m_sessions(sessions) {}

    using FormFields = std::map<std::string, std::string>;

    /// Throws WireError.
    ServiceRequest decode(const HttpRequest& request) const;
    /// The same where the fields have been read already.
    ServiceRequest decode(const HttpRequest& request, const FormFields& fields) const;
    /// The reply envelope. Without a cipher, data stays out: nobody could read it.
    static std::string encode(const ServiceReply& reply, const std::string& bid, const SessionCipher* cipher);

private:
    std::shared_ptr<const SessionCipher> cipherOf(const FormFields& fields) const;
    rapidjson::Document readHeader(const HttpRequest& request, const SessionCipher& cipher) const;

    const bool m_headerRequired;
    SessionKeys& m_sessions;
};

}  // namespace devserver

#endif
