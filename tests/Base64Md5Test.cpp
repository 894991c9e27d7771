#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <string>

#include "support/TempDir.h"
#include "vloxlib/encrypt/Base64.h"
#include "vloxlib/encrypt/MD5.h"

using namespace vloxlib;

namespace {

const std::string kNoBytes = "d41d8cd98f00b204e9800998ecf8427e";

std::string randomBytes(std::mt19937& random, std::size_t length) {
    std::string bytes;
    while (bytes.size() < length) {
        bytes += static_cast<char>(random());
    }
    return bytes;
}

}  // namespace

TEST(Base64, WritesTheUrlAlphabetWithoutPaddingOrLineBreaks) {
    EXPECT_EQ("", Base64::encode(""));
    EXPECT_EQ("_w", Base64::encode("\xff"));
    EXPECT_EQ("-_-_", Base64::encode("\xfb\xff\xbf"));
    EXPECT_EQ("AAAA", Base64::encode(std::string(3, '\0')));
    EXPECT_EQ(400u, Base64::encode(std::string(300, 'x')).size());
    EXPECT_EQ("YWI", Base64::encode("abc", 2));
    EXPECT_EQ("", Base64::encode("abc", -1));
    EXPECT_EQ("", Base64::encode(nullptr, 3));
}

TEST(Base64, GivesBackWhatItTook) {
    std::mt19937 random(20230701);
    for (std::size_t length = 0; length < 300; ++length) {
        const std::string bytes = randomBytes(random, length);
        ASSERT_EQ(bytes, Base64::decode(Base64::encode(bytes))) << length;
    }
    const std::string large = randomBytes(random, 8000003);
    EXPECT_TRUE(large == Base64::decode(Base64::encode(large)));
}

TEST(Base64, ReadsLeniently) {
    struct Row {
        const char* why;
        std::string text;
        std::string bytes;
    };
    const Row rows[] = {
        {"white space anywhere", " Y\tW\r\nJ\vj\f", "abc"},
        {"nothing but white space", " \n", ""},
        {"padded by somebody else", "YWI=", "ab"},
        {"the other alphabet's symbol stops the read", "YWJjYWJj+AAA", "abcabc"},
        {"an invalid character, what came before stays", "YWJj!YWJj", "abc"},
        {"an invalid character inside a group", "YWJjYW!j", "abc"},
        {"a NUL is no character of the alphabet", std::string("YWJj\0YWJj", 9), "abc"},
        {"a byte beyond ASCII", "YWJj\xc3\xa4", "abc"},
        {"one symbol too many makes no byte", "YWJjY", "abc"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        EXPECT_EQ(row.bytes, Base64::decode(row.text));
    }
    EXPECT_EQ("abc", Base64::decode("YWJjYWJj", 4));
    EXPECT_EQ("", Base64::decode("YWJj", -4));
    EXPECT_EQ("", Base64::decode(nullptr, 4));
}

TEST(MD5, OfTextAndFile) {
    const vlox_test::TempDir dir;
    EXPECT_EQ(kNoBytes, MD5::md5(""));
    EXPECT_EQ("900150983cd24fb0d6963f7d28e17f72", MD5::md5("abc"));
    const std::string large(100001, '\0');
    dir.write("large", large);
    EXPECT_EQ(MD5::md5(large), MD5::md5File(dir.path("large")));
    dir.write("empty", "");
    EXPECT_EQ(kNoBytes, MD5::md5File(dir.path("empty")));
    EXPECT_EQ("", MD5::md5File(dir.path("missing")));
    EXPECT_EQ("", MD5::md5File(dir.path())) << "a directory has no content";
    EXPECT_EQ("", MD5::md5File(""));
}

TEST(MD5, OfAStretch) {
    const vlox_test::TempDir dir;
    std::mt19937 random(20230702);
    const std::string content = randomBytes(random, 20000);
    dir.write("file", content);
    const __int64 size = static_cast<__int64>(content.size());
    const __int64 least = std::numeric_limits<__int64>::min();
    const __int64 most = std::numeric_limits<__int64>::max();
    struct Row {
        const char* why;
        __int64 offset;
        __int64 length;
        std::string digest;
    };
    const Row rows[] = {
        {"nothing at the start", 0, 0, kNoBytes},
        {"nothing at the end", size, 0, kNoBytes},
        {"a length below zero reads nothing", 0, -1, kNoBytes},
        {"a stretch of many buffers", 3, 19000, MD5::md5(content.substr(3, 19000))},
        {"up to the end", 19990, 10, MD5::md5(content.substr(19990))},
        {"the whole file", 0, size, MD5::md5(content)},
        {"longer than the file", 0, size + 1, ""},
        {"before the file", -1, 1, ""},
        {"far before the file", least, 1, ""},
        {"behind the file", size + 1, 0, ""},
        {"a stretch that overruns the end", 19990, 11, ""},
        {"sums that don't fit", most, most, ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        EXPECT_EQ(row.digest, MD5::md5Chunk(dir.path("file"), row.offset, row.length));
    }
    EXPECT_EQ("", MD5::md5Chunk(dir.path("missing"), 0, 0));
    EXPECT_EQ("", MD5::md5Chunk(dir.path(), 0, 0));
}
