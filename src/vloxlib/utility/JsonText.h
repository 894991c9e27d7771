#ifndef VLOXLIB_UTILITY_JSONTEXT_H
#define VLOXLIB_UTILITY_JSONTEXT_H

#include <rapidjson/document.h>

#include <string>

namespace vloxlib {

/// @brief Appends a text to a JSON object. @param name isn't copied: a literal or a constant
inline void addText(rapidjson::Value& object, const char* name, const std::string& text,
                    rapidjson::Document& document) {
    auto& memory = document.GetAllocator();
    const auto size = static_cast<rapidjson::SizeType>(text.size());
    object.AddMember(rapidjson::StringRef(name), rapidjson::Value(text.data(), size, memory), memory);
}

}  // namespace vloxlib

#endif
