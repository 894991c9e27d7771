#ifndef COMMON_JSON_H
#define COMMON_JSON_H

#include <rapidjson/document.h>

#include <string>

namespace common {

/// A JSON object that is built member by member; texts are copied.
class JsonObject {
public:
    JsonObject() : m_document(rapidjson::kObjectType) {}
    JsonObject& add(const char* name, const std::string& text);
    JsonObject& add(const char* name, long long number);
    JsonObject& add(const char* name, const JsonObject& object);
    JsonObject& add(const char* name, const rapidjson::Value& value);
    std::string text() const;

private:
    rapidjson::Document m_document;
};

/// Null where the text is no JSON.
rapidjson::Document parseJson(const std::string& text);
std::string toText(const rapidjson::Value& value);

/// The member's text, or the other one where there is no such text.
std::string textOf(const rapidjson::Value& object, const char* name, const std::string& otherwise = "");
int intOf(const rapidjson::Value& object, const char* name, int otherwise);
long long longOf(const rapidjson::Value& object, const char* name, long long otherwise);

}  // namespace common

#endif
