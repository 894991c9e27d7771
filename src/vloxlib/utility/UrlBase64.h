// Base64 with the URL alphabet and without padding, for those who can't reach up to the class Base64.
#ifndef VLOXLIB_UTILITY_URLBASE64_H
#define VLOXLIB_UTILITY_URLBASE64_H

#include <openssl/evp.h>

#include <algorithm>
#include <cstddef>
#include <string>

namespace vloxlib::urlbase64 {

// OpenSSL's coder does the work, in the standard alphabet. It counts in int, hence the parts.
constexpr std::size_t kEncodePart = 3u << 20;
constexpr std::size_t kDecodePart = 4u << 20;

inline const unsigned char* bytesOf(const char* text) { return reinterpret_cast<const unsigned char*>(text); }

inline bool isSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// The symbol in the standard alphabet, or NUL for a character that is none of ours.
inline char standardSymbol(char c) {
    const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    return plain ? c : c == '-' ? '+' : c == '_' ? '/' : '\0';
}

inline std::string encode(const char* data, std::size_t length) {
    std::string text((length + 2) / 3 * 4 + 1, '\0');  // the coder adds a terminator
    std::size_t written = 0;
    for (std::size_t at = 0; at < length; at += kEncodePart) {
        const auto part = static_cast<int>(std::min(kEncodePart, length - at));
        written += static_cast<std::size_t>(
            EVP_EncodeBlock(reinterpret_cast<unsigned char*>(&text[written]), bytesOf(data + at), part));
    }
    text.resize((length * 4 + 2) / 3);  // without the padding
    std::replace(text.begin(), text.end(), '+', '-');
    std::replace(text.begin(), text.end(), '/', '_');
    return text;
}

// The text up to its first character that is neither white space nor of the alphabet, in whole groups of
// four. An incomplete group counts at the end of the text and before padding; before an invalid character it
// is dropped.
struct Symbols {
    std::string groups;
    std::size_t bytes;  // that they stand for
};

inline Symbols symbolsOf(const char* text, std::size_t length) {
    Symbols symbols{std::string(length + 3, 'A'), 0};
    std::size_t count = 0;
    bool whole = true;
    for (std::size_t at = 0; at < length; ++at) {
        const char symbol = standardSymbol(text[at]);
        if (symbol != '\0') {
            symbols.groups[count++] = symbol;
        } else if (!isSpace(text[at])) {
            whole = text[at] == '=';
            break;
        }
    }
    const std::size_t counted = whole ? count : count - count % 4;
    symbols.bytes = counted * 3 / 4;
    symbols.groups.resize((counted + 3) / 4 * 4);
    return symbols;
}

inline std::string decode(const char* text, std::size_t length) {
    const Symbols symbols = symbolsOf(text, length);
    std::string data(symbols.groups.size() / 4 * 3, '\0');
    for (std::size_t at = 0; at < symbols.groups.size(); at += kDecodePart) {
        const auto part = static_cast<int>(std::min(kDecodePart, symbols.groups.size() - at));
        EVP_DecodeBlock(reinterpret_cast<unsigned char*>(&data[at / 4 * 3]), bytesOf(&symbols.groups[at]),
                        part);
    }
    data.resize(symbols.bytes);
    return data;
}

// A text that somebody else's program may have written, in the standard alphabet or in that of URLs.
inline std::string decodeEither(std::string text) {
    std::replace(text.begin(), text.end(), '+', '-');
    std::replace(text.begin(), text.end(), '/', '_');
    return decode(text.data(), text.size());
}

}  // namespace vloxlib::urlbase64

#endif
