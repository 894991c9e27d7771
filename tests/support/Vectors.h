#ifndef TESTS_SUPPORT_VECTORS_H
#define TESTS_SUPPORT_VECTORS_H

#include <rapidjson/document.h>

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

namespace vlox_test {

/// A file of the folder tests/data.
inline std::string dataPath(const std::string& name) { return std::string(VLOX_TEST_DATA) + "/" + name; }

/// The known answers of one of these files.
inline rapidjson::Document vectors(const std::string& name) {
    std::ostringstream text;
    text << std::ifstream(dataPath(name), std::ios::binary).rdbuf();
    rapidjson::Document document;
    if (document.Parse(text.str().c_str()).HasParseError()) {
        throw std::runtime_error("no vectors in " + dataPath(name));
    }
    return document;
}

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

/// The bytes of a member that holds hexadecimal digits.
inline std::string bytesOf(const rapidjson::Value& vector, const char* member) {
    return fromHex(vector[member].GetString());
}

inline const unsigned char* asBytes(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

}  // namespace vlox_test

#endif
