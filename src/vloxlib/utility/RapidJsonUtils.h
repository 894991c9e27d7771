#ifndef VLOXLIB_UTILITY_RAPIDJSONUTILS_H
#define VLOXLIB_UTILITY_RAPIDJSONUTILS_H

#include <rapidjson/document.h>

#include <vloxlib/Export.h>
#include <vloxlib/Types.h>
#include <string>
#include <vector>

namespace vloxlib {

/// A JSON value with UTF-8 text and the pool allocator.
using JsonValue = rapidjson::Value;

/// @brief Lenient reading of JSON, and writing it back as compact text.
///
/// Each `getMember` operation gives false, and leaves the destination alone, for a value that is no object, a
/// missing member and a member of another type. Nothing is logged or thrown.
/// Threads: any, on documents of their own.
class VLOX_API RapidJsonUtils {
public:
    /// @brief Parses a text from outside; one nested too deep to be walked safely counts as no JSON.
    /// @return false when the text is no JSON; the document is null then
    static bool parse(const std::string& text, rapidjson::Document& document);

    /// @brief True for a number of any kind; of one that is no integer of that width, its storage's low bits
    /// are read.
    static bool getMemberInt(const JsonValue& value, const char* name, int& member);
    static bool getMemberInt64(const JsonValue& value, const char* name, __int64& member);
    static bool getMemberBool(const JsonValue& value, const char* name, bool& member);
    /// @brief True for a text, which is copied up to its first NUL, and for an integer of 64 bits with a
    /// sign.
    static bool getMemberString(const JsonValue& value, const char* name, std::string& member);
    /// @brief True for an array; the document receives a deep copy.
    static bool getMemberArray(const JsonValue& value, const char* name, rapidjson::Document& member);
    /// @brief True for an array; its JSON text is copied.
    static bool getMemberArrayString(const JsonValue& value, const char* name, std::string& member);
    /// @brief True for an array; its texts are appended, other elements skipped.
    static bool getMemberStringList(const JsonValue& value, const char* name,
                                    std::vector<std::string>& member);

    /// @brief True for the text of an array; its integers are appended, other elements skipped.
    static bool jsonArrayToInt64Vector(const std::string& text, std::vector<long>& elements);
    /// @brief True for the text of an array; its texts are appended, other elements skipped.
    static bool jsonArrayToStringVector(const std::string& text, std::vector<std::string>& elements);

    /// @return the compact text, without blanks; a number that isn't finite becomes null
    static std::string jsonToString(const JsonValue& value);

private:
    RapidJsonUtils() = default;
};

}  // namespace vloxlib

#endif
