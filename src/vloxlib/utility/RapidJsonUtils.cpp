#include "vloxlib/utility/RapidJsonUtils.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cmath>
#include <cstdint>
#include <cstring>

namespace vloxlib {

namespace {

// Copying and writing a value recurse once per level.
constexpr int kDeepestNesting = 1000;

bool isNestedTooDeep(const std::string& text) {
    if (text.size() <= std::size_t{kDeepestNesting}) {
        return false;  // a level takes a character
    }
    int depth = 0;
    bool inString = false;
    for (std::size_t place = 0; place < text.size(); ++place) {
        const char character = text[place];
        if (inString) {
            place += character == '\\' ? 1 : 0;
            inString = character != '"';
        } else if (character == '"') {
            inString = true;
        } else if (character == '[' || character == '{') {
            if (++depth > kDeepestNesting) {
                return true;
            }
        } else if (character == ']' || character == '}') {
            --depth;
        }
    }
    return false;
}

const JsonValue* findMember(const JsonValue& value, const char* name) {
    if (!value.IsObject()) {
        return nullptr;
    }
    const auto place = value.FindMember(name);
    return place == value.MemberEnd() ? nullptr : &place->value;
}

const JsonValue* findArray(const JsonValue& value, const char* name) {
    const JsonValue* const member = findMember(value, name);
    return member != nullptr && member->IsArray() ? member : nullptr;
}

// The eight bytes in which the library keeps a number: what it is meant for is for the reader to know.
std::uint64_t storageOf(const JsonValue& number) {
    if (number.IsInt64()) {
        return static_cast<std::uint64_t>(number.GetInt64());
    }
    if (number.IsUint64()) {
        return number.GetUint64();
    }
    const double floating = number.GetDouble();
    std::uint64_t bits = 0;
    std::memcpy(&bits, &floating, sizeof bits);
    return bits;
}

template <typename Integer>
bool readNumber(const JsonValue& value, const char* name, Integer& number) {
    const JsonValue* const member = findMember(value, name);
    if (member == nullptr || !member->IsNumber()) {
        return false;
    }
    number = static_cast<Integer>(storageOf(*member));
    return true;
}

void appendTexts(const JsonValue& array, std::vector<std::string>& texts) {
    for (const JsonValue& element : array.GetArray()) {
        if (element.IsString()) {
            texts.emplace_back(element.GetString());
        }
    }
}

// JSON has no number for what isn't finite, and a writer that refuses leaves half a text.
struct TextWriter : rapidjson::Writer<rapidjson::StringBuffer> {
    using Writer::Writer;
    bool Double(double number) { return std::isfinite(number) ? Writer::Double(number) : Null(); }
};

bool parseArray(const std::string& text, rapidjson::Document& document) {
    return RapidJsonUtils::parse(text, document) && document.IsArray();
}

}  // namespace

bool RapidJsonUtils::parse(const std::string& text, rapidjson::Document& document) {
    if (isNestedTooDeep(text)) {
        document.SetNull();
        return false;
    }
    document.Parse(text.c_str());
    return !document.HasParseError();
}

bool RapidJsonUtils::getMemberInt(const JsonValue& value, const char* name, int& member) {
    return readNumber(value, name, member);
}

bool RapidJsonUtils::getMemberInt64(const JsonValue& value, const char* name, __int64& member) {
    return readNumber(value, name, member);
}

bool RapidJsonUtils::getMemberBool(const JsonValue& value, const char* name, bool& member) {
    const JsonValue* const found = findMember(value, name);
    if (found == nullptr || !found->IsBool()) {
        return false;
    }
    member = found->GetBool();
    return true;
}

bool RapidJsonUtils::getMemberString(const JsonValue& value, const char* name, std::string& member) {
    const JsonValue* const found = findMember(value, name);
    if (found == nullptr) {
        return false;
    }
    if (found->IsString()) {
        member = found->GetString();
        return true;
    }
    if (!found->IsInt64()) {
        return false;
    }
    member = std::to_string(found->GetInt64());
    return true;
}

bool RapidJsonUtils::getMemberArray(const JsonValue& value, const char* name, rapidjson::Document& member) {
    const JsonValue* const array = findArray(value, name);
    if (array == nullptr) {
        return false;
    }
    member.CopyFrom(*array, member.GetAllocator());
    return true;
}

bool RapidJsonUtils::getMemberArrayString(const JsonValue& value, const char* name, std::string& member) {
    const JsonValue* const array = findArray(value, name);
    if (array == nullptr) {
        return false;
    }
    member = jsonToString(*array);
    return true;
}

bool RapidJsonUtils::getMemberStringList(const JsonValue& value, const char* name,
                                         std::vector<std::string>& member) {
    const JsonValue* const array = findArray(value, name);
    if (array == nullptr) {
        return false;
    }
    appendTexts(*array, member);
    return true;
}

bool RapidJsonUtils::jsonArrayToInt64Vector(const std::string& text, std::vector<long>& elements) {
    rapidjson::Document array;
    if (!parseArray(text, array)) {
        return false;
    }
    for (const JsonValue& element : array.GetArray()) {
        if (element.IsInt64()) {
            elements.push_back(static_cast<long>(element.GetInt64()));
        }
    }
    return true;
}

bool RapidJsonUtils::jsonArrayToStringVector(const std::string& text, std::vector<std::string>& elements) {
    rapidjson::Document array;
    if (!parseArray(text, array)) {
        return false;
    }
    appendTexts(array, elements);
    return true;
}

std::string RapidJsonUtils::jsonToString(const JsonValue& value) {
    rapidjson::StringBuffer buffer;
    TextWriter writer(buffer);
    value.Accept(writer);
    return {buffer.GetString(), buffer.GetSize()};
}

}  // namespace vloxlib
