#include "Json.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace devserver {

void addText(rapidjson::Document& object, const char* name, const std::string& text) {
    auto& allocator = object.GetAllocator();
    object.AddMember(rapidjson::Value(name, allocator),
                     rapidjson::Value(text.data(), static_cast<rapidjson::SizeType>(text.size()), allocator),
                     allocator);
}

void addNumber(rapidjson::Document& object, const char* name, long long number) {
    auto& allocator = object.GetAllocator();
    object.AddMember(rapidjson::Value(name, allocator), rapidjson::Value(static_cast<int64_t>(number)),
                     allocator);
}

void addObject(rapidjson::Document& object, const char* name, const rapidjson::Value& value) {
    auto& allocator = object.GetAllocator();
    object.AddMember(rapidjson::Value(name, allocator), rapidjson::Value(value, allocator), allocator);
}

std::string toText(const rapidjson::Value& value) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    value.Accept(writer);
    return {buffer.GetString(), buffer.GetSize()};
}

}  // namespace devserver
