// Reading of SM9 system parameters from a file that somebody has written.
#ifndef QUILCRYPTO_PARAMETERTEXT_H
#define QUILCRYPTO_PARAMETERTEXT_H

#include <quilcrypto/sm9/Sm9.h>

#include <optional>
#include <string>

namespace vloxlib::quil {

// The content is the DER bytes, or their Base64 in either alphabet, with line breaks and the marker lines
// "-----BEGIN IBC PARAMETERS-----" and "-----END IBC PARAMETERS-----" or without them.
std::optional<sm9::SystemParameters> parametersFromContent(const std::string& content);

}  // namespace vloxlib::quil

#endif
