#ifndef VLOXLIB_HTTP_SERVICEATTEMPT_H
#define VLOXLIB_HTTP_SERVICEATTEMPT_H

#include <string>

#include "vloxlib/http/HttpTypes.h"
#include "vloxlib/utility/RapidJsonUtils.h"

namespace vloxlib {

class ConfigManager;
class EncryptBridge;
class UserInfo;

/// @brief One attempt or several at a service request: what stays the same, and the result that they add to.
struct ServiceAttempt {
    const ConfigManager& config;
    const UserInfo& user;
    HTTPMethod method;
    int timeout;  // seconds
    const JsonValue& params;
    JsonValue& result;
    rapidjson::Document& document;  // holds the memory of both
    ExchangeOutcome* outcome;       // may be null

    /// @brief Encrypts, sends, and reads the reply into the result.
    /// @return the code that was added to the result; 0 with nothing added when nothing could be sent
    int run(const std::string& url, EncryptBridge* bridge, int asymType) const;
};

}  // namespace vloxlib

#endif
