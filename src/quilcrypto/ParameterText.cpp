#include "quilcrypto/ParameterText.h"

#include <utility>

#include "vloxlib/utility/UrlBase64.h"

namespace vloxlib::quil {

namespace {

void removeFirst(std::string& text, const std::string& part) {
    const auto place = text.find(part);
    if (place != std::string::npos) {
        text.erase(place, part.size());
    }
}

}  // namespace

std::optional<sm9::SystemParameters> parametersFromContent(const std::string& content) {
    std::optional<sm9::SystemParameters> binary = sm9::SystemParameters::fromDer(content);
    if (binary) {
        return binary;
    }
    std::string text = content;
    removeFirst(text, "-----BEGIN IBC PARAMETERS-----");
    removeFirst(text, "-----END IBC PARAMETERS-----");
    return sm9::SystemParameters::fromDer(urlbase64::decodeEither(std::move(text)));
}

}  // namespace vloxlib::quil
