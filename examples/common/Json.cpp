#include "Json.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace common {
namespace {

const rapidjson::Value* find(const rapidjson::Value& object, const char* name) {
    if (!object.IsObject()) {
        return nullptr;
    }
    const auto member = object.FindMember(name);
    return member == object.MemberEnd() ? nullptr : &member->value;
}

}  // namespace

JsonObject& JsonObject::add(const char* name, const std::string& text) {
    return add(name, rapidjson::Value(text.data(), static_cast<rapidjson::SizeType>(text.size()),
                                      m_document.GetAllocator()));
}

JsonObject& JsonObject::add(const char* name, long long number) {
    return add(name, rapidjson::Value(static_cast<int64_t>(number)));
}

JsonObject& JsonObject::add(const char* name, const JsonObject& object) {
    return add(name, object.m_document);
}

JsonObject& JsonObject::add(const char* name, const rapidjson::Value& value) {
    auto& allocator = m_document.GetAllocator();
    m_document.AddMember(rapidjson::Value(name, allocator), rapidjson::Value(value, allocator), allocator);
    return *this;
}

std::string JsonObject::text() const { return toText(m_document); }

rapidjson::Document parseJson(const std::string& text) {
    rapidjson::Document document;
    document.Parse<rapidjson::kParseValidateEncodingFlag>(text.data(), text.size());
    if (document.HasParseError()) {
        document.SetNull();
    }
    return document;
}

std::string toText(const rapidjson::Value& value) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    value.Accept(writer);
    return {buffer.GetString(), buffer.GetSize()};
}

std::string textOf(const rapidjson::Value& object, const char* name, const std::string& otherwise) {
    const rapidjson::Value* value = find(object, name);
    return value != nullptr && value->IsString() ? std::string(value->GetString(), value->GetStringLength())
                                                 : otherwise;
}

int intOf(const rapidjson::Value& object, const char* name, int otherwise) {
    const rapidjson::Value* value = find(object, name);
    return value != nullptr && value->IsInt() ? value->GetInt() : otherwise;
}

long long longOf(const rapidjson::Value& object, const char* name, long long otherwise) {
    const rapidjson::Value* value = find(object, name);
    return value != nullptr && value->IsInt64() ? value->GetInt64() : otherwise;
}

}  // namespace common
