/// @file
/// @brief What a service request looks like on the wire, and how its reply is read. Plain values in and out.
#ifndef VLOXLIB_HTTP_SERVICEENVELOPE_H
#define VLOXLIB_HTTP_SERVICEENVELOPE_H

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "vloxlib/http/HttpTypes.h"
#include "vloxlib/utility/RapidJsonUtils.h"

namespace vloxlib {

class EncryptBridge;

/// @brief What a usual request or reply needs without asking for memory: the default pool begins with 64 KiB.
struct ScratchDocument {
    alignas(std::max_align_t) char memory[2048];
    rapidjson::MemoryPoolAllocator<> pool{memory, sizeof memory};
    rapidjson::Document json{&pool};
};

/// @brief The time limits of a service request that may take that many seconds: connecting has a cap.
QosParams serviceLimits(int timeout);

using ServiceField = std::pair<const char*, std::string>;

/// @brief The fields of a request: the parameters, and where a session key protects them, what the server
/// needs to find it.
std::vector<ServiceField> serviceFields(const std::string& appId, EncryptBridge& bridge, int asymType,
                                        std::string encryptedParams);

/// @brief Who asks, as JSON: the text of the custom header ahead of its encryption.
std::string senderText(int deviceType, const std::string& vloxId);

/// @brief Encrypts a text with the session key. Empty without a bridge.
std::string encryptedText(EncryptBridge* bridge, const std::string& text);
/// @brief Encrypts a text with the fixed special key. Empty without a bridge.
std::string encryptedHeader(EncryptBridge* bridge, const std::string& text);

/// @brief Reads what an exchange brought, and appends `data` and `returnCode` to the result.
///
/// Appends also behind the members of an earlier attempt: who looks a member up finds the first one's.
/// @param code the exchange's own; another than 0 ends the reading
/// @return the code that was appended
int readServiceReply(const char* methodName, int code, const std::string& body, EncryptBridge* bridge,
                     JsonValue& result, rapidjson::Document& document);

/// @brief Appends a code to a result, and `data` that isn't empty ahead of it. @return the native code
int appendResult(int code, const std::string& data, JsonValue& result, rapidjson::Document& document);

/// @brief Reads a result text. @see HttpHelper::parseHttpResultString()
int readServiceResult(const std::string& text, rapidjson::Document& document, JsonValue& data);

}  // namespace vloxlib

#endif
