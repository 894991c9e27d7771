#ifndef TESTS_SUPPORT_HEX_H
#define TESTS_SUPPORT_HEX_H

#include <string>

namespace vlox_test {

inline std::string fromHex(const std::string& digits) {
    std::string bytes;
    for (std::size_t at = 0; at + 1 < digits.size(); at += 2) {
        bytes += static_cast<char>(std::stoi(digits.substr(at, 2), nullptr, 16));
    }
    return bytes;
}

inline std::string toHex(const std::string& bytes) {
    static const char digits[] = "0123456789abcdef";
    std::string text;
    for (const char character : bytes) {
        const auto byte = static_cast<unsigned char>(character);
        text += {digits[byte >> 4], digits[byte & 15]};
    }
    return text;
}

inline const unsigned char* asBytes(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

}  // namespace vlox_test

#endif
