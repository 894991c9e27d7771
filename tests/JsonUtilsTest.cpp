#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "vloxlib/utility/RapidJsonUtils.h"
#include "vloxlib/utility/StringUtils.h"

using namespace vloxlib;

namespace {

rapidjson::Document parsed(const std::string& text) {
    rapidjson::Document document;
    EXPECT_TRUE(RapidJsonUtils::parse(text, document)) << text;
    return document;
}

std::uint64_t bitsOf(double number) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &number, sizeof bits);
    return bits;
}

}  // namespace

TEST(RapidJsonUtils, NumberMembersAreReadLeniently) {
    const auto value = parsed(
        R"({"int":5,"negative":-7,"wide":12345678901,"beyond":18446744073709551615,"float":3.5,"text":"5","flag":true})");
    struct Row {
        const char* member;
        bool found;
        __int64 wide;
    };
    const Row rows[] = {
        {"int", true, 5},
        {"negative", true, -7},
        {"wide", true, 12345678901},
        {"beyond", true, -1},
        {"float", true, static_cast<__int64>(bitsOf(3.5))},
        {"text", false, 99},
        {"flag", false, 99},
        {"missing", false, 99},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.member);
        __int64 wide = 99;
        EXPECT_EQ(row.found, RapidJsonUtils::getMemberInt64(value, row.member, wide));
        EXPECT_EQ(row.wide, wide);
        int narrow = 99;
        EXPECT_EQ(row.found, RapidJsonUtils::getMemberInt(value, row.member, narrow));
        EXPECT_EQ(static_cast<int>(row.wide), narrow) << "the low half";
    }
    int untouched = 99;
    EXPECT_FALSE(RapidJsonUtils::getMemberInt(parsed("[5]"), "int", untouched));
    EXPECT_FALSE(RapidJsonUtils::getMemberInt(parsed("null"), "int", untouched));
    EXPECT_EQ(99, untouched);
}

TEST(RapidJsonUtils, TextMembersMayBeNumbers) {
    const auto value = parsed(
        R"({"text":"abc","number":12345678901,"negative":-5,"beyond":18446744073709551615,"float":1.0,"flag":true,"nul":"a\u0000b"})");
    struct Row {
        const char* member;
        bool found;
        const char* text;
    };
    const Row rows[] = {
        {"text", true, "abc"},       {"number", true, "12345678901"}, {"negative", true, "-5"},
        {"beyond", false, "before"}, {"float", false, "before"},      {"flag", false, "before"},
        {"nul", true, "a"},          {"missing", false, "before"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.member);
        std::string text = "before";
        EXPECT_EQ(row.found, RapidJsonUtils::getMemberString(value, row.member, text));
        EXPECT_EQ(row.text, text);
    }
    bool flag = false;
    EXPECT_TRUE(RapidJsonUtils::getMemberBool(value, "flag", flag));
    EXPECT_TRUE(flag);
    EXPECT_FALSE(RapidJsonUtils::getMemberBool(value, "number", flag));
    EXPECT_TRUE(flag);
}

TEST(RapidJsonUtils, ArrayMembersAreCopiedDeeply) {
    rapidjson::Document copy;
    std::string text;
    std::vector<std::string> texts{"before"};
    {
        const auto value = parsed(R"({"list":["a", 1, {"b": [true]}, "c"],"object":{}})");
        EXPECT_TRUE(RapidJsonUtils::getMemberArray(value, "list", copy));
        EXPECT_TRUE(RapidJsonUtils::getMemberArrayString(value, "list", text));
        EXPECT_TRUE(RapidJsonUtils::getMemberStringList(value, "list", texts));
        for (const char* other : {"object", "missing"}) {
            EXPECT_FALSE(RapidJsonUtils::getMemberArray(value, other, copy));
            EXPECT_FALSE(RapidJsonUtils::getMemberArrayString(value, other, text));
            EXPECT_FALSE(RapidJsonUtils::getMemberStringList(value, other, texts));
        }
    }
    EXPECT_EQ(R"(["a",1,{"b":[true]},"c"])", RapidJsonUtils::jsonToString(copy))
        << "after its origin is gone";
    EXPECT_EQ(R"(["a",1,{"b":[true]},"c"])", text);
    EXPECT_EQ((std::vector<std::string>{"before", "a", "c"}), texts) << "appended, other elements skipped";
}

TEST(RapidJsonUtils, ArrayTextsGiveTheirElementsOfOneType) {
    std::vector<long> numbers{1};
    EXPECT_TRUE(RapidJsonUtils::jsonArrayToInt64Vector(R"([2, -3, "4", 5.5, null])", numbers));
    EXPECT_EQ((std::vector<long>{1, 2, -3}), numbers);
    std::vector<std::string> texts;
    EXPECT_TRUE(RapidJsonUtils::jsonArrayToStringVector(R"(["a", 1, "b"])", texts));
    EXPECT_EQ((std::vector<std::string>{"a", "b"}), texts);
    for (const char* refused : {"", "[1", "{}", "7", "[1] x"}) {
        EXPECT_FALSE(RapidJsonUtils::jsonArrayToInt64Vector(refused, numbers)) << refused;
        EXPECT_FALSE(RapidJsonUtils::jsonArrayToStringVector(refused, texts)) << refused;
    }
}

TEST(RapidJsonUtils, WhatIsNoNumberIsWrittenAsNull) {
    auto value = parsed(R"({"before":[1.5],"number":0,"after":true})");
    for (const double number : {std::nan(""), HUGE_VAL, -HUGE_VAL}) {
        value["number"].SetDouble(number);
        EXPECT_EQ(R"({"before":[1.5],"number":null,"after":true})", RapidJsonUtils::jsonToString(value));
    }
}

TEST(RapidJsonUtils, DeepNestingIsRefusedBeforeItCanExhaustTheStack) {
    rapidjson::Document document;
    EXPECT_FALSE(RapidJsonUtils::parse(std::string(10'000'000, '['), document));
    EXPECT_TRUE(document.IsNull());
    EXPECT_TRUE(RapidJsonUtils::parse(std::string(500, '[') + std::string(500, ']'), document));
    EXPECT_TRUE(RapidJsonUtils::parse("\"\\\"" + std::string(5000, '[') + '"', document)) << "inside a text";
    EXPECT_FALSE(RapidJsonUtils::parse("[\"\\\\\"," + std::string(10'000'000, '['), document))
        << "behind one";
    EXPECT_TRUE(RapidJsonUtils::parse('[' + std::string(2000, ' ') + "[],[]]", document)) << "side by side";
}

TEST(StringUtils, ReplaceDoesNotLookAtWhatItPutIn) {
    struct Row {
        const char* why;
        const char* text;
        const char* from;
        const char* to;
        const char* result;
    };
    const Row rows[] = {
        {"longer than before", "aba", "a", "aa", "aabaa"},
        {"shorter", "xaax", "aa", "", "xx"},
        {"nothing found", "abc", "d", "e", "abc"},
        {"made anew by the replacement", "aab", "ab", "b", "ab"},
        {"hits side by side, and what follows", "aabaac", "a", "bab", "babbabbbabbabc"},
        {"an empty pattern", "abc", "", "x", "abc"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        std::string text = row.text;
        StringUtils::stringReplace(text, row.from, row.to);
        EXPECT_EQ(row.result, text);
    }
}

TEST(StringUtils, EncodeKeepsEighteenBits) {
    const struct {
        int value;
        const char* text;
    } rows[] = {{0, "000"},        {63, "00~"},     {64, "010"},     {61, "00Z"},
                {36 << 12, "A00"}, {262143, "~~~"}, {262144, "000"}, {-1, "~~~"}};
    for (const auto& row : rows) {
        EXPECT_EQ(row.text, StringUtils::encode(row.value)) << row.value;
    }
}

TEST(StringUtils, RandomTextIsOfLowerCaseLetters) {
    EXPECT_EQ(StringUtils::EMPTY, StringUtils::randomStr(0));
    EXPECT_EQ(StringUtils::EMPTY, StringUtils::randomStr(-1));
    const std::string text = StringUtils::randomStr(2000);
    EXPECT_EQ(2000U, text.size());
    EXPECT_EQ(std::string::npos, text.find_first_not_of("abcdefghijklmnopqrstuvwxyz"));
    for (const char letter : {'a', 'z'}) {
        EXPECT_NE(std::string::npos, text.find(letter)) << "the whole alphabet is drawn from";
    }
}
