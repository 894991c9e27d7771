#ifndef DEVSERVER_BASE64URL_H
#define DEVSERVER_BASE64URL_H

#include <optional>
#include <string>

namespace devserver {

/// The Base64 of the wire: the URL-safe alphabet, without padding or line breaks.
std::string encodeBase64(const std::string& bytes);
/// Nothing for a text in any other form: a client that writes one is at fault.
std::optional<std::string> decodeBase64(const std::string& text);

}  // namespace devserver

#endif
