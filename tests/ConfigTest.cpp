#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "vloxlib/ConfigManager.h"
#include "vloxlib/Context.h"
#include "vloxlib/ErrorCodes.h"
#include "vloxlib/InstancesHolder.h"
#include "vloxlib/NumberText.h"
#include "vloxlib/UserInfo.h"

using namespace vloxlib;

namespace {

constexpr _ConfigKey configKey(int number) { return static_cast<_ConfigKey>(number); }
constexpr ContextKey contextKey(int number) { return static_cast<ContextKey>(number); }

template <typename Number>
Number read(const std::string& text) {
    Number number = 77;
    strToX(text, number);
    return number;
}

template <typename Number>
std::string written(Number number) {
    char text[32];
    toStr(number, text);
    return text;
}

}  // namespace

TEST(NumberText, ReadsWhatStandsAtTheStart) {
    struct Row {
        const char* why;
        const char* text;
        int value;
    };
    const Row rows[] = {
        {"plain", "12", 12},
        {"negative", "-12", -12},
        {"stops at the first other character", "12abc", 12},
        {"nothing", "", 0},
        {"a sign alone", "-", 0},
        {"one sign only", "--5", 0},
        {"no allowance for blanks", " 7", 0},
        {"nor for a plus", "+7", 0},
        {"smallest", "-2147483648", INT_MIN},
        {"wraps instead of overflowing", "4294967297", 1},
        {"many digits", "100000000000000000000000000000000000001", 1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        EXPECT_EQ(row.value, read<int>(row.text));
    }
    EXPECT_EQ(0U, read<unsigned int>("-5")) << "the unsigned forms know no sign";
    EXPECT_EQ(LLONG_MIN, read<__int64>("-9223372036854775808"));
}

TEST(NumberText, WritesTheExtremesOfEachWidth) {
    EXPECT_EQ("0", written(0));
    EXPECT_EQ("-2147483648", written(INT_MIN));
    EXPECT_EQ("4294967295", written(UINT_MAX));
    EXPECT_EQ(std::to_string(LONG_MIN), written(LONG_MIN));
    EXPECT_EQ(std::to_string(ULONG_MAX), written(ULONG_MAX));
    EXPECT_EQ("-9223372036854775808", written(static_cast<__int64>(LLONG_MIN)));
    EXPECT_EQ("18446744073709551615", written(ULLONG_MAX));
}

TEST(UserInfo, TakesTheApplicationFirstAndComparesBoth) {
    const UserInfo user("a", "b");
    EXPECT_EQ("a", user.getAppID());
    EXPECT_EQ("b", user.getVloxID());
    EXPECT_TRUE(user == UserInfo("a", "b"));
    EXPECT_FALSE(user == UserInfo("b", "a"));
    EXPECT_FALSE(user == UserInfo("a", "c"));
    EXPECT_FALSE(user == UserInfo("c", "b"));
}

TEST(ConfigManager, StartsWithNineSettings) {
    const ConfigManager config("someone");
    std::vector<int> present;
    for (int number = -1; number <= CONFIG_KEY_END; ++number) {
        if (config.getConfig(configKey(number), "absent") != "absent") {
            present.push_back(number);
        }
    }
    EXPECT_EQ((std::vector<int>{12, 16, 19, 23, 32, 34, 35, 37, 104}), present);
    EXPECT_EQ(0, config.getConfig(CONFIG_WEB_REQUEST_MODE, 1)) << "the stored default, not the reader's";
    EXPECT_EQ(1, config.getConfig(CONFIG_VERIFY_HOST, 1)) << "absent: the reader's default";
    EXPECT_EQ(4, config.getConfig(CONFIG_ENCRYPT_POLICY, 0));
    EXPECT_EQ("4194304", config.getConfig(CONFIG_FILE_CHUNK_SIZE, ""));
    EXPECT_EQ("someone", config.getVloxId());
}

TEST(ConfigManager, KeepsNumbersAsTextAndIgnoresKeysPastTheEnd) {
    ConfigManager config("someone");
    config.setConfig(CONFIG_SERVER_PROTOCOL, 7);
    EXPECT_EQ("7", config.getConfig(CONFIG_SERVER_PROTOCOL, ""));
    config.setConfig(configKey(7), std::string("12abc"));
    EXPECT_EQ(12, config.getConfig(configKey(7), 5));
    config.setConfig(configKey(7), std::string("abc"));
    EXPECT_EQ(0, config.getConfig(configKey(7), 5)) << "present, if without digits: not the default";
    config.setConfig(configKey(-1), std::string("kept"));
    EXPECT_EQ("kept", config.getConfig(configKey(-1), ""));
    config.setConfig(configKey(107), 1);
    EXPECT_EQ(1, config.getConfig(configKey(107), 0));
    for (const int ignored : {108, 109, INT_MAX}) {
        config.setConfig(configKey(ignored), 1);
        EXPECT_EQ(0, config.getConfig(configKey(ignored), 0)) << ignored;
    }
}

TEST(ConfigManager, LivesAsLongAsSomebodyHoldsIt) {
    auto config = ConfigManager::getInstance("holder");
    config->setConfig(CONFIG_AS_HOST, std::string("host"));
    EXPECT_EQ(config, ConfigManager::getInstance("holder"));

    ConfigManager::releaseInstance("holder");
    EXPECT_NE(config, ConfigManager::getInstance("holder")) << "released: a new one while the old one lives";

    config = ConfigManager::getInstance("holder");
    config->setConfig(CONFIG_AS_HOST, std::string("host"));
    config.reset();
    EXPECT_EQ("", ConfigManager::getInstance("holder")->getConfig(CONFIG_AS_HOST, ""))
        << "dropped: the defaults";

    const auto unknown = ConfigManager::getInstance("");
    EXPECT_EQ(unknown, ConfigManager::getInstance("uuId"));
    EXPECT_EQ("uuId", unknown->getVloxId());
    ConfigManager::releaseInstance("");
    EXPECT_NE(unknown, ConfigManager::getInstance("uuId"));
}

TEST(ConfigManager, IsSharedByThreads) {
    std::vector<std::thread> threads;
    const auto config = ConfigManager::getInstance("threads");
    for (int writer = 0; writer < 4; ++writer) {
        threads.emplace_back([writer, &config] {
            for (int round = 0; round < 200; ++round) {
                EXPECT_EQ(config, ConfigManager::getInstance("threads"));
                config->setConfig(configKey(writer), round);
                EXPECT_EQ(round, config->getConfig(configKey(writer), -1));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

namespace {

// Made from an account or an identity, and refuses some.
struct Account {
    explicit Account(const std::string& key) : origin("text " + key) {
        if (key == "refused") {
            throw std::runtime_error("refused");
        }
    }
    explicit Account(const UserInfo& user) : origin("user " + user.getAppID() + '/' + user.getVloxID()) {}

    std::string origin;
};

}  // namespace

TEST(InstancesHolder, MakesFromWhatItWasAskedBy) {
    InstancesHolder<Account> holder;
    EXPECT_EQ("text uuId", holder.getInstance("")->origin);
    const auto byUser = holder.getInstance(UserInfo("app", "me"));
    EXPECT_EQ("user app/me", byUser->origin);
    EXPECT_EQ(byUser, holder.getInstance(UserInfo("other", "me"))) << "the account alone is the key";
    EXPECT_EQ("user app/", holder.getInstance(UserInfo("app", ""))->origin) << "no other name for this form";
    holder.releaseInstance(UserInfo("app", "me"));
    EXPECT_NE(byUser, holder.getInstance("me"));
}

TEST(InstancesHolder, OutlivesAConstructorThatThrows) {
    InstancesHolder<Account> holder;
    const auto before = holder.getInstance("before");
    EXPECT_THROW(holder.getInstance("refused"), std::runtime_error);
    EXPECT_EQ(before, holder.getInstance("before")) << "neither locked for ever nor emptied";
    EXPECT_THROW(holder.getInstance("refused"), std::runtime_error);
}

TEST(Context, HasTheSameRulesWithABoundOfItsOwn) {
    Context& context = *Context::getInstance();
    EXPECT_EQ("./", context.getContext(contextKey(12), "./"));
    context.setContext(contextKey(12), 42);
    EXPECT_EQ("42", context.getContext(contextKey(12), ""));
    context.setContext(contextKey(-1), "kept");
    EXPECT_EQ("kept", context.getContext(contextKey(-1), ""));
    context.setContext(contextKey(13), "x");
    EXPECT_EQ("", context.getContext(contextKey(13), ""));
    EXPECT_EQ(&context, Context::getInstance());
}

TEST(ErrorCodes, FollowRulesThatTheObviousRowsDoNotShow) {
    struct Row {
        const char* why;
        int wire;
        int native;
    };
    const Row rows[] = {
        {"success", 0, 0},
        {"a native code passes through", -5, -5},
        {"the smallest number", INT_MIN, INT_MIN},
        {"below the first family", 999, -199},
        {"family 1", 1, -199},
        {"above the last family", 19000, -199},
        {"far above", INT_MAX, -199},
        {"the other zone", 10016, -829},
        {"many to one", 10012, -104},
        {"family 15 keeps its value", 15123, 15123},
        {"with its bounds", 15999, 15999},
        {"a run with one value", 16006, -1001},
        {"inside which one differs", 16007, -1004},
        {"and which goes on", 16008, -1001},
        {"a gap in family 17", 17016, -199},
        {"the pair that runs in reverse", 17018, -1113},
        {"its other half", 17019, -1112},
        {"last of all", 18005, -1305},
        {"behind it", 18006, -199},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        EXPECT_EQ(row.native, wireCodeToNative(row.wire));
    }
}

// The sums over a family catch a slip in any of its rows.
TEST(ErrorCodes, AddUpFamilyByFamily) {
    const struct {
        int family;
        int mapped;
        int sum;
    } rows[] = {
        {10, 15, -201 - 213 - 214 - 208 - 215 - 216 - 3 * 104 - 217 - 218 - 200 - 201 - 219 - 829},
        {11, 2, -402 - 408},
        {12, 1, -202},
        {13, 6, -(306 + 311) * 3},
        {14, 0, 0},
        {16, 22,
         -1000 - 5 * 1001 - 1004 - 1001 - 4 * 1005 - 1000 - 1007 - 1008 - 1012 - 1013 - 1011 - 1014 - 1015 -
             1017 - 1018},
        {17, 18, -(1101 + 1113) * 13 / 2 - (1202 + 1206) * 5 / 2},
        {18, 5, -1303 * 5},
    };
    for (const auto& row : rows) {
        int mapped = 0;
        int sum = 0;
        for (int wire = row.family * 1000; wire < (row.family + 1) * 1000; ++wire) {
            const int native = wireCodeToNative(wire);
            mapped += native == -199 ? 0 : 1;
            sum += native == -199 ? 0 : native;
        }
        EXPECT_EQ(row.mapped, mapped) << "family " << row.family;
        EXPECT_EQ(row.sum, sum) << "family " << row.family;
    }
}

TEST(ErrorCodes, ReadATextAsItsDigits) {
    EXPECT_EQ(-1010, convertInternalErrorCode("-1010"));
    EXPECT_EQ(0, convertInternalErrorCode("")) << "what is no number reads as success";
    EXPECT_EQ(15, convertInternalErrorCode("15x"));
    EXPECT_EQ(10001, convertInternalErrorCode(10001)) << "nothing is converted";
}
