#ifndef TESTS_SUPPORT_VECTORS_H
#define TESTS_SUPPORT_VECTORS_H

#include <rapidjson/document.h>

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

#include "support/Hex.h"

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

/// The bytes of a member that holds hexadecimal digits.
inline std::string bytesOf(const rapidjson::Value& vector, const char* member) {
    return fromHex(vector[member].GetString());
}

}  // namespace vlox_test

#endif
