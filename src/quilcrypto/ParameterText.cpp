#include "quilcrypto/ParameterText.h"

#include <openssl/evp.h>

namespace vloxlib::quil {

namespace {

void removeFirst(std::string& text, const std::string& part) {
    const auto place = text.find(part);
    if (place != std::string::npos) {
        text.erase(place, part.size());
    }
}

// In the standard alphabet, padded to whole groups of four, as OpenSSL's decoder wants it.
std::string standardForm(const std::string& text) {
    std::string symbols;
    for (char c : text) {
        const bool space = c == ' ' || (c >= '\t' && c <= '\r');
        if (!space && c != '=') {
            symbols.push_back(c == '-' ? '+' : c == '_' ? '/' : c);
        }
    }
    symbols.resize((symbols.size() + 3) / 4 * 4, '=');
    return symbols;
}

sm9::Bytes decoded(const std::string& text) {
    const std::string symbols = standardForm(text);
    sm9::Bytes bytes(symbols.size() / 4 * 3);
    const int length = EVP_DecodeBlock(bytes.data(), reinterpret_cast<const unsigned char*>(symbols.data()),
                                       static_cast<int>(symbols.size()));
    const auto padding = static_cast<int>(symbols.size() - (symbols.find_last_not_of('=') + 1));
    bytes.resize(length > padding ? static_cast<std::size_t>(length - padding) : 0);
    return bytes;
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
    return sm9::SystemParameters::fromDer(decoded(text));
}

}  // namespace vloxlib::quil
