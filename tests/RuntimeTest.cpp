#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/ssl.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <future>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "support/DataDir.h"
#include "support/LogCapture.h"
#include "support/Patterns.h"
#include "support/RawHttpServer.h"
#include "support/TempDir.h"
#include "support/UserSettings.h"
#include "vloxlib/ConfigManager.h"
#include "vloxlib/Context.h"
#include "vloxlib/encrypt/EncryptBridge.h"
#include "vloxlib/log/vloxLog.h"
#include "vloxlib/network/NetworkMonitor.h"
#include "win32/Identity.h"
#include "win32/VLOXBase.h"
#include "win32/VloxModuleAbstract.h"
#include "win32/vloxCommonlib.h"

using namespace vloxlib;
using vlox_test::IsOfPattern;
using vlox_test::storedSetting;
using Strings = std::vector<std::string>;

namespace {

// Writes down what it is asked and told.
class RecordingModule : public VloxModuleAbstract {
public:
    RecordingModule(Strings& calls, std::string name, bool accepts = true)
        : m_calls(calls), m_name(std::move(name)), m_accepts(accepts) {}
    ~RecordingModule() override { m_calls.push_back(m_name + " deleted"); }
    RecordingModule(const RecordingModule&) = delete;
    RecordingModule& operator=(const RecordingModule&) = delete;

    void onModuleRegistered(__int64 /*clientId*/) override { recordAndThrow(" registered"); }
    void onModuleUnregistered() override { recordAndThrow(" unregistered"); }
    bool acceptsCommand(int target) override {
        m_calls.push_back(m_name + " asked " + std::to_string(target));
        return m_accepts;
    }
    void onSdkEventCmd(int target, const std::string& a, int b, const std::string& c) override {
        record("event", {std::to_string(target), a, std::to_string(b), c});
    }
    void onNotificationCmd(int target, int cmd, const std::string& data) override {
        record("notification", {std::to_string(target), std::to_string(cmd), data});
    }
    void onBusinessCmd(int target, int cmd, const std::string& data) override {
        record("business", {std::to_string(target), std::to_string(cmd), data});
        if (whenCommanded) {
            whenCommanded();
        }
    }

    std::function<void()> whenCommanded;
    bool throws = false;

private:
    void recordAndThrow(const std::string& call) const {
        m_calls.push_back(m_name + call);
        if (throws) {
            throw std::runtime_error(call);
        }
    }
    void record(const std::string& call, const Strings& arguments) {
        std::string line = m_name + ' ' + call;
        for (const std::string& argument : arguments) {
            line += ' ' + argument;
        }
        m_calls.push_back(line);
    }

    Strings& m_calls;
    const std::string m_name;
    const bool m_accepts;
};

// A new client for each test.
class ClientTest : public testing::Test {
protected:
    ~ClientTest() override { VLOXBase::releaseClient(client); }

    static std::string unique() {
        static int count = 0;
        return "account" + std::to_string(++count);
    }

    const std::string vloxId = unique();
    const __int64 client = createVloxClient("app", vloxId.c_str());
    Strings calls;
};

}  // namespace

TEST_F(ClientTest, IsOnePerApplicationAndAccount) {
    VLOXBase::setLogin(client, true);
    EXPECT_EQ(client, createVloxClient("app", vloxId.c_str()));
    EXPECT_TRUE(VLOXBase::isLogin(client)) << "the login stays";

    const __int64 other = createVloxClient("other app", vloxId.c_str());
    const __int64 third = createVloxClient("app", (vloxId + "'").c_str());
    EXPECT_EQ(client + 1, other) << "counted up, whatever time has passed";
    EXPECT_EQ(client + 2, third);
    EXPECT_FALSE(VLOXBase::isLogin(other));

    setConfigStr(client, CONFIG_AS_HOST, "shared");
    char host[16] = "";
    EXPECT_EQ(0, getConfigStr(other, CONFIG_AS_HOST, host, sizeof host));
    EXPECT_STREQ("shared", host) << "one account, one configuration";
    VLOXBase::releaseClient(other);
    VLOXBase::releaseClient(third);
    EXPECT_FALSE(VLOXBase::clientExist(third));
}

TEST_F(ClientTest, NeedsTwoTexts) {
    EXPECT_EQ(-1, createVloxClient(nullptr, "b"));
    EXPECT_EQ(-1, createVloxClient("a", nullptr));
    EXPECT_EQ(-1, createVloxClient("", "b"));
    EXPECT_EQ(-1, createVloxClient("a", ""));
    EXPECT_GE(client, std::time(nullptr) - 3600) << "ids start at the clock";
}

TEST_F(ClientTest, TakesAndGivesConfiguration) {
    EXPECT_EQ(0, setConfigInt(client, CONFIG_ENCRYPT_POLICY, -7));
    EXPECT_EQ(-7, getConfigInt(client, CONFIG_ENCRYPT_POLICY));
    EXPECT_EQ(0, getConfigInt(client, CONFIG_VERIFY_HOST)) << "unset";
    EXPECT_EQ(0, setConfigInt(client, CONFIG_KEY_END, 5)) << "ignored, and no failure";
    EXPECT_EQ(0, getConfigInt(client, CONFIG_KEY_END));

    EXPECT_EQ(0, setConfigStr(client, CONFIG_AS_HOST, "12345"));
    EXPECT_EQ(-1, setConfigStr(client, CONFIG_AS_HOST, ""));
    EXPECT_EQ(-1, setConfigStr(client, CONFIG_AS_HOST, nullptr));
    char text[8] = "before";
    EXPECT_EQ(-1, getConfigStr(client, CONFIG_AS_HOST, text, 5)) << "no room for the terminator";
    EXPECT_STREQ("before", text);
    EXPECT_EQ(0, getConfigStr(client, CONFIG_AS_HOST, text, 6));
    EXPECT_STREQ("12345", text);
    EXPECT_EQ(-1, getConfigStr(client, CONFIG_AS_HOST, nullptr, 6));

    EXPECT_EQ(0, setConfigStr(client, CONFIG_FILE_CHUNK_SIZE, "1"));
    createVloxClient("app", vloxId.c_str());
    EXPECT_EQ(4194304, getConfigInt(client, CONFIG_FILE_CHUNK_SIZE)) << "put back on every creation";
}

TEST_F(ClientTest, GivesItsAccountWithoutATerminator) {
    std::string account(vloxId.size() + 2, '#');
    EXPECT_TRUE(getCurrentVloxId(client, account.data()));
    EXPECT_EQ(vloxId + "##", account);
    EXPECT_FALSE(getCurrentVloxId(client, nullptr));
}

TEST_F(ClientTest, UnknownOnesAreRefusedQuietly) {
    vlox_test::LogCapture log;
    const __int64 unknown = 0x7FFFFFFF00000005;
    char text[8] = "before";
    RecordingModule module(calls, "module");
    EXPECT_EQ(-1, setConfigInt(unknown, CONFIG_AS_HOST, 1));
    EXPECT_EQ(-1, setConfigStr(unknown, CONFIG_AS_HOST, "x"));
    EXPECT_EQ(-1, getConfigInt(unknown, CONFIG_AS_HOST));
    EXPECT_EQ(-1, getConfigStr(unknown, CONFIG_AS_HOST, text, sizeof text));
    EXPECT_EQ(1, log.count("I", "!VLOXBase::clientExist"));
    EXPECT_FALSE(getCurrentVloxId(unknown, text));
    EXPECT_STREQ("before", text);
    loadModule(unknown, &module);
    unloadModule(unknown, &module);
    EXPECT_EQ(Strings{}, calls) << "neither told nor deleted";
    VLOXBase::setLogin(unknown, true);
    EXPECT_EQ(0, log.count("not exist"));
    EXPECT_FALSE(VLOXBase::isLogin(unknown));
    EXPECT_EQ(1, log.count("E", "client:5 not exist")) << "the id's low half";
    EXPECT_TRUE(VLOXBase::getUserInfo(unknown) == UserInfo());
    EXPECT_EQ(2, log.count("E", "client:5 not exist"));
}

TEST_F(ClientTest, BuildsUrlsFromItsConfiguration) {
    setConfigStr(client, CONFIG_AS_HOST, "host");
    setConfigStr(client, CONFIG_AS_PORT, "80");
    EXPECT_EQ("http://host:80/vlox/a/b", VLOXBase::getUrl(client, CONFIG_AS_HOST, CONFIG_AS_PORT, "a/b"));
    setConfigInt(client, CONFIG_WEB_REQUEST_MODE, 2);
    setConfigInt(client, CONFIG_URL_SERVICE_PREFIX, 0);
    EXPECT_EQ("https://host:80/a/b", VLOXBase::getUrl(client, CONFIG_AS_HOST, CONFIG_AS_PORT, "a/b"));
    EXPECT_EQ("https://:/", VLOXBase::getUrl(client, CONFIG_FS_HOST, CONFIG_FS_PORT, ""))
        << "unset: empty parts";

    VLOXBase::releaseClient(client);
    const auto unknown = ConfigManager::getInstance("");
    EXPECT_EQ("http://:/vlox/a", VLOXBase::getUrl(client, CONFIG_AS_HOST, CONFIG_AS_PORT, "a"));
    unknown->setConfig(CONFIG_AS_HOST, std::string("spare"));
    EXPECT_EQ("http://spare:/vlox/a", VLOXBase::getUrl(client, CONFIG_AS_HOST, CONFIG_AS_PORT, "a"));
}

TEST_F(ClientTest, ReleaseTellsEveryFunctionAndForgetsModulesAndSettings) {
    static std::vector<std::pair<char, __int64>> released;
    released.clear();
    VLOXBase::registerReleaseFunc(nullptr);
    VLOXBase::registerReleaseFunc([](__int64 id) {
        released.emplace_back('a', id);
        return 1;
    });
    VLOXBase::registerReleaseFunc([](__int64 id) {
        released.emplace_back(VLOXBase::clientExist(id) ? 'b' : '!', id);
        return 0;
    });
    RecordingModule module(calls, "module");
    VLOXBase::registerModule(client, &module);
    setConfigStr(client, CONFIG_AS_HOST, "x");

    EXPECT_EQ(0, VLOXBase::releaseClient(client));
    EXPECT_EQ((std::vector<std::pair<char, __int64>>{{'a', client}, {'b', client}}), released);
    EXPECT_EQ(Strings{"module registered"}, calls) << "modules are not told";
    VLOXBase::dispatchBusinessCmd(client, 1, 2, "data");
    EXPECT_EQ(1U, calls.size());
    EXPECT_EQ(0, VLOXBase::releaseClient(client)) << "unknown by now";
    EXPECT_EQ(4U, released.size()) << "and told all the same";

    const __int64 again = createVloxClient("app", vloxId.c_str());
    EXPECT_GT(again, client);
    EXPECT_EQ(0, getConfigInt(again, CONFIG_AS_HOST)) << "nobody held the old settings";
    VLOXBase::releaseClient(again);
}

TEST_F(ClientTest, RoutesCommandsToTheModulesThatAccept) {
    RecordingModule deaf(calls, "deaf", false);
    RecordingModule first(calls, "first");
    RecordingModule second(calls, "second");
    for (RecordingModule* module : {&deaf, &first, &second}) {
        EXPECT_EQ(0, VLOXBase::registerModule(client, module));
    }
    EXPECT_EQ((Strings{"deaf registered", "first registered", "second registered"}), calls);
    const Strings asked = {"deaf asked 7", "first asked 7", "first ", "second asked 7", "second "};
    const auto expected = [&](const std::string& call) {
        Strings lines = asked;
        lines[2] += call;
        lines[4] += call;
        return lines;
    };
    calls.clear();
    EXPECT_EQ(0, VLOXBase::dispatchBusinessCmd(client, 7, 8, "data"));
    EXPECT_EQ(expected("business 7 8 data"), calls);
    calls.clear();
    EXPECT_EQ(0, VLOXBase::dispatchNotificationCmd(client, 7, 8, "data"));
    EXPECT_EQ(expected("notification 7 8 data"), calls);
    calls.clear();
    VLOXBase::onSdkEvent(client, 7, "a", 1, "c");
    EXPECT_EQ(expected("event 7 a 1 c"), calls);
    calls.clear();
    EXPECT_EQ(0, VLOXBase::dispatchBusinessCmd(client + 1000, 7, 8, "data"));
    EXPECT_EQ(Strings{}, calls);
    EXPECT_EQ(-1, VLOXBase::registerModule(client, nullptr));
    EXPECT_EQ(-1, VLOXBase::unregisterModule(client, nullptr));
}

TEST_F(ClientTest, CountsEachRegistrationOfAModule) {
    RecordingModule module(calls, "module");
    VLOXBase::registerModule(client, &module);
    VLOXBase::registerModule(client, &module);
    VLOXBase::dispatchNotificationCmd(client, 1, 2, "twice");
    EXPECT_EQ(2, std::count(calls.begin(), calls.end(), "module notification 1 2 twice"));
    VLOXBase::unregisterModule(client, &module);
    calls.clear();
    VLOXBase::dispatchNotificationCmd(client, 1, 2, "once");
    EXPECT_EQ(1, std::count(calls.begin(), calls.end(), "module notification 1 2 once"));
    VLOXBase::unregisterModule(client, &module);
    calls.clear();
    VLOXBase::dispatchNotificationCmd(client, 1, 2, "gone");
    EXPECT_EQ(Strings{}, calls);
    EXPECT_EQ(0, VLOXBase::unregisterModule(client, &module));
    EXPECT_EQ(Strings{"module unregistered"}, calls) << "told though it was never there";
}

TEST_F(ClientTest, UnloadingDeletesTheModule) {
    auto* const module = new RecordingModule(calls, "module");
    loadModule(client, module);
    loadModule(client, nullptr);
    unloadModule(client, nullptr);
    unloadModule(client, module);
    EXPECT_EQ((Strings{"module registered", "module unregistered", "module deleted"}), calls);
}

TEST_F(ClientTest, ModulesMayCallBackAndThrow) {
    RecordingModule module(calls, "module");
    VLOXBase::registerModule(client, &module);
    std::string account;
    module.whenCommanded = [&] {
        account = VLOXBase::getUserInfo(client).getVloxID();
        VLOXBase::dispatchNotificationCmd(client, 3, 4, "nested");
        throw std::runtime_error("module");
    };
    EXPECT_THROW(VLOXBase::dispatchBusinessCmd(client, 1, 2, "outer"), std::runtime_error);
    EXPECT_EQ(vloxId, account);
    EXPECT_EQ(1, std::count(calls.begin(), calls.end(), "module notification 3 4 nested"));
    auto elsewhere = std::async(std::launch::async, [this] { return VLOXBase::clientExist(client); });
    ASSERT_EQ(std::future_status::ready, elsewhere.wait_for(std::chrono::seconds(30)))
        << "the lock is free again";
    EXPECT_TRUE(elsewhere.get());
}

TEST_F(ClientTest, ModulesThatThrowOnTheirWayInOrOutAreGone) {
    auto* const module = new RecordingModule(calls, "module");
    loadModule(client, module);
    module->throws = true;
    EXPECT_THROW(loadModule(client, module), std::runtime_error);
    calls.clear();
    VLOXBase::dispatchBusinessCmd(client, 1, 2, "once");
    EXPECT_EQ((Strings{"module asked 1", "module business 1 2 once"}), calls) << "its earlier entry stays";
    calls.clear();
    EXPECT_THROW(unloadModule(client, module), std::runtime_error);
    VLOXBase::dispatchBusinessCmd(client, 1, 2, "gone");
    EXPECT_EQ((Strings{"module unregistered", "module deleted"}), calls);
}

// Forbidden to modules; still nothing may be called that is gone.
TEST_F(ClientTest, ModulesThatLeaveDuringACommandAreNotCalled) {
    auto* const first = new RecordingModule(calls, "first");
    auto* const second = new RecordingModule(calls, "second");
    loadModule(client, first);
    loadModule(client, second);
    first->whenCommanded = [&] {
        unloadModule(client, second);
        for (int more = 0; more < 20; ++more) {
            VLOXBase::registerModule(client, first);
        }
        first->whenCommanded = nullptr;
    };
    EXPECT_EQ(0, VLOXBase::dispatchBusinessCmd(client, 1, 2, "data"));
    EXPECT_EQ(0, std::count(calls.begin(), calls.end(), "second business 1 2 data"));
    VLOXBase::releaseClient(client);
    delete first;
}

TEST_F(ClientTest, ReadersDoNotWaitForACommandThatRuns) {
    RecordingModule module(calls, "module");
    VLOXBase::registerModule(client, &module);
    std::promise<void> entered;
    std::promise<void> goOn;
    module.whenCommanded = [&] {
        entered.set_value();
        goOn.get_future().wait();
    };
    std::thread dispatcher([this] { VLOXBase::dispatchBusinessCmd(client, 1, 2, "slow"); });
    entered.get_future().wait();
    auto readers = std::async(std::launch::async, [this] {
        VLOXBase::setLogin(client, true);
        return VLOXBase::clientExist(client) && getConfigInt(client, CONFIG_ENCRYPT_POLICY) == 4 &&
               VLOXBase::isLogin(client) && VLOXBase::getUserInfo(client).getVloxID() == vloxId &&
               !VLOXBase::getUrl(client, CONFIG_AS_HOST, CONFIG_AS_PORT, "x").empty();
    });
    auto other = std::async(std::launch::async,
                            [this] { return VLOXBase::dispatchNotificationCmd(client, 1, 2, "waits"); });
    EXPECT_EQ(std::future_status::ready, readers.wait_for(std::chrono::seconds(30)));
    EXPECT_EQ(std::future_status::timeout, other.wait_for(std::chrono::milliseconds(50))) << "one at a time";
    goOn.set_value();
    dispatcher.join();
    EXPECT_TRUE(readers.get());
    EXPECT_EQ(0, other.get());
}

TEST_F(ClientTest, IsUsedByManyThreads) {
    RecordingModule module(calls, "module");
    VLOXBase::registerModule(client, &module);
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([this, number] {
            Strings ownCalls;
            RecordingModule own(ownCalls, "own", false);
            for (int round = 0; round < 100; ++round) {
                VLOXBase::registerModule(client, &own);
                VLOXBase::dispatchBusinessCmd(client, number, round, "data");
                VLOXBase::unregisterModule(client, &own);
                VLOXBase::setLogin(client, round % 2 == 0);
                VLOXBase::isLogin(client);
                EXPECT_EQ(vloxId, VLOXBase::getUserInfo(client).getVloxID());
                setConfigInt(client, CONFIG_MODULE_FLAG_32, round);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(400, std::count_if(calls.begin(), calls.end(),
                                 [](const std::string& call) { return call.find("module business") == 0; }));
}

TEST_F(ClientTest, RequestsDoNotHoldUpCommands) {
    const vlox_test::DataDir dataDir;
    setConfigInt(client, CONFIG_ENCRYPT_POLICY, 0);
    setConfigInt(client, CONFIG_SYM_ENCRYPT_TYPE, 0);
    setConfigStr(client, CONFIG_ENCRYPT_PUBKEY, "none");
    const auto bridge = EncryptBridge::getInstance(vloxId);
    bridge->initial();
    bool commandRan = false;
    vlox_test::RawHttpServer server([&](Poco::Net::StreamSocket& socket, const std::string&) {
        auto command = std::async(
            std::launch::async, [this] { return VLOXBase::dispatchBusinessCmd(client, 1, 2, "meanwhile"); });
        commandRan = command.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
        vlox_test::RawHttpServer::send(socket, vlox_test::RawHttpServer::ok(R"({"code":"0"})"));
    });
    EXPECT_EQ(R"({"returnCode":0})", VLOXBase::doSyncHttpRequest(client, HTTP_METHOD_POST, HTTP_BUSINESS_AS,
                                                                 server.url(), R"({"a":1})"));
    EXPECT_TRUE(commandRan);
}

TEST(TextHelpers, CopyStringNeverLeavesItsBuffer) {
    struct Row {
        const char* why;
        int dstLen;
        const char* src;
        int srcLen;
        int result;
        const char* dst;
    };
    const Row rows[] = {
        {"fits with its terminator", 4, "abc", 3, 0, "abc"},
        {"no room for the terminator", 3, "abc", 3, -1, "before"},
        {"part of a text", 8, "abc", 2, 0, "ab"},
        {"nothing", 1, "abc", 0, 0, ""},
        {"nothing from nowhere", 1, nullptr, 0, 0, ""},
        {"something from nowhere", 8, nullptr, 3, -1, "before"},
        {"negative length", 8, "abc", -1, -1, "before"},
        {"negative lengths", -1, "abc", -2, -1, "before"},
        {"no room at all", 0, "abc", 0, -1, "before"},
        {"the most negative length", INT_MIN, "abc", INT_MIN, -1, "before"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        char dst[8] = "before";
        EXPECT_EQ(row.result, copy_string(dst, row.dstLen, row.src, row.srcLen));
        EXPECT_STREQ(row.dst, dst);
    }
    EXPECT_EQ(-1, copy_string(nullptr, 8, "abc", 3));
    vlox_test::LogCapture log;
    char dst[8];
    copy_string(dst, 3, "abc", 3);
    copy_string(dst, 8, "abc", -1);
    EXPECT_EQ(1, log.count("E", "srcLen >= dstLen, 3 >= 3"));
    EXPECT_EQ(1, log.count("srcLen >="));
}

TEST(TextHelpers, DataIsTakenOutOfAResult) {
    struct Row {
        const char* why;
        const char* result;
        int returnCode;
        const char* data;
    };
    const Row rows[] = {
        {"success", R"({"returnCode":0,"data":"x"})", 0, "x"},
        {"success without data", R"({"returnCode":0})", 0, "before"},
        {"data of another type", R"({"returnCode":0,"data":{}})", 0, "before"},
        {"data as a number", R"({"returnCode":0,"data":12})", 0, "12"},
        {"failure", R"({"returnCode":-806,"data":"x"})", -806, "before"},
        {"failure of a service", R"({"data":"x","returnCode":15123})", 15123, "before"},
        {"no code", R"({"data":"x"})", -112, "before"},
        {"a code that is no number", R"({"returnCode":"0","data":"x"})", -112, "before"},
        {"an array", R"([{"returnCode":0}])", -112, "before"},
        {"no JSON", "returnCode", -112, "before"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        std::string data = "before";
        EXPECT_EQ(row.returnCode, getDataStrFromResultStr(row.result, data));
        EXPECT_EQ(row.data, data);
    }
    vlox_test::LogCapture log;
    std::string data;
    getDataStrFromResultStr(R"({"returnCode":-806})", data);
    getDataStrFromResultStr(R"({"returnCode":0})", data);
    EXPECT_EQ(1, log.count("E", "httpReqest fail returnCode=-806"));
    EXPECT_EQ(1, log.count("E", R"(httpReqest result is empty, resultStr={"returnCode":0})"));
}

TEST(TextHelpers, TheLatestResultIsCopied) {
    const std::map<std::string, std::string> results = {{"key", "value"}, {"empty", ""}};
    char dst[6] = "";
    EXPECT_EQ(-1010, getLatesResult(results, "other", dst, sizeof dst));
    EXPECT_EQ(-1, getLatesResult(results, "key", dst, 5));
    EXPECT_STREQ("", dst);
    EXPECT_EQ(0, getLatesResult(results, "key", dst, 6));
    EXPECT_STREQ("value", dst);
    EXPECT_EQ(0, getLatesResult(results, "empty", dst, 1));
    EXPECT_STREQ("", dst);
    EXPECT_TRUE(isEmpty(nullptr));
    EXPECT_TRUE(isEmpty(""));
    EXPECT_FALSE(isEmpty(" "));
}

namespace {

// A place of its own for the user's settings, the data and the log.
class StartTest : public testing::Test {
protected:
    static std::string context(ContextKey key) { return Context::getInstance()->getContext(key, "absent"); }
    int start(const char* logDir = nullptr, int deviceType = 5) {
        return initialize({0, 0, logDir}, home.path().c_str(), deviceType);
    }
    Strings filesIn(const std::string& folder) const {
        Strings files;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(home.path(folder))) {
            if (entry.is_regular_file()) {
                files.push_back(std::filesystem::relative(entry.path(), home.path()).generic_string());
            }
        }
        return files;
    }

    vlox_test::UserSettings settings;
    vlox_test::TempDir home;
};

// What happens once per process can be tested once per process.
class FirstStartTest : public StartTest {
protected:
    void SetUp() override {
        if (context(CONTEXT_DATA_DIR) != "absent") {
            GTEST_SKIP() << "initialize() has run in this process";
        }
        std::filesystem::create_directories(home.path("log"));
    }
    std::string logged() const {
        std::string text;
        for (const std::string& file : filesIn("log")) {
            text += home.read(file);
        }
        return text;
    }
};

}  // namespace

TEST_F(FirstStartTest, BadArgumentsTouchNothing) {
    const std::string log = home.path("log");
    const std::string data = home.path();
    EXPECT_EQ(-201, initialize({0, 0, log.c_str()}, nullptr, 0));
    EXPECT_EQ(-201, initialize({0, 0, log.c_str()}, data.c_str(), 8));
    EXPECT_EQ(-201, initialize({0, 0, log.c_str()}, data.c_str(), -1));
    EXPECT_EQ(Strings{}, filesIn(""));
    for (int key = 0; key < CONTEXT_KEY_END - 1; ++key) {
        EXPECT_EQ("absent", context(static_cast<ContextKey>(key))) << key;
    }
}

TEST_F(FirstStartTest, FillsTheContextWithoutALogger) {
    ASSERT_EQ(0, start());
    EXPECT_EQ(5, Context::getInstance()->getContext(CONTEXT_DEVICE_TYPE, 0));
    EXPECT_EQ(home.path(), context(CONTEXT_DATA_DIR));
    for (const ContextKey key : {CONTEXT_RESERVED_1, CONTEXT_RESERVED_5}) {
        EXPECT_EQ("0", context(key));
    }
    for (const ContextKey key : {CONTEXT_RESERVED_4, CONTEXT_RESERVED_6}) {
        EXPECT_EQ("", context(key));
    }
    for (const int key : {7, 8, 10, 11}) {
        EXPECT_EQ("absent", context(static_cast<ContextKey>(key))) << key;
    }
    EXPECT_EQ(36U, context(CONTEXT_DEVICE_ID).size());
    EXPECT_EQ(Strings{}, filesIn(""));
}

TEST_F(FirstStartTest, LogsUntilTheSdkIsDestroyed) {
    const std::string log = home.path("log");
    ASSERT_EQ(0, start(log.c_str()));
    EXPECT_EQ(log, context(CONTEXT_LOG_DIR));
    ASSERT_EQ(0, start(home.path("other").c_str(), 6));
    EXPECT_EQ(log, context(CONTEXT_LOG_DIR)) << "what the first call gave";
    EXPECT_EQ("6", context(CONTEXT_DEVICE_TYPE)) << "the rest is written again";
    EXPECT_EQ(0, destroySDK());

    const std::string line =
        "SDK for windows , version :windows_sdk-vloxlib-android-3.1.0-SNAPSHOT.a.18701-20190926";
    const std::string before = logged();
    const auto firstAt = before.find(line);
    ASSERT_NE(std::string::npos, firstAt) << before;
    EXPECT_NE(std::string::npos, before.find(line, firstAt + 1)) << "on every call";
    EXPECT_EQ(1U, filesIn("log").size());
    EXPECT_EQ(0U, filesIn("log").front().find("log/windows_sdk"));

    EXPECT_EQ(0, start(log.c_str()));
    EXPECT_EQ(0, vloxprint_v2(5, "RuntimeTest.cpp", "test", 1, "after the end"));
    EXPECT_EQ(before, logged()) << "the logger doesn't come back";
    EXPECT_EQ(0, destroySDK());
}

TEST_F(FirstStartTest, PassesOnThatTheLogFileCannotBeOpened) {
    home.write("file", "in the way");
    EXPECT_ANY_THROW(start(home.path("file/log").c_str()));
    EXPECT_EQ("absent", context(CONTEXT_DATA_DIR));
    EXPECT_EQ(0, start(home.path("log").c_str())) << "the next call may do better";
    EXPECT_EQ(0, destroySDK());
    EXPECT_NE("", logged());
}

TEST_F(StartTest, DeviceIdIsMadeOnce) {
    const std::string id = deviceId();
    EXPECT_THAT(id, IsOfPattern("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}"));
    EXPECT_EQ(id, storedSetting("deviceId")) << "plain text";
    EXPECT_EQ(id, deviceId()) << "read back";
    settings.clear();
    EXPECT_NE(id, deviceId());
}

TEST_F(StartTest, DeviceIdIsOneForAllThatMakeItAtOnce) {
    for (int round = 0; round < 40; ++round) {
        round % 2 == 0 ? settings.clear() : settings.store("deviceId", "");
        std::vector<std::future<std::string>> made;
        for (int racer = 0; racer < 4; ++racer) {
            made.push_back(std::async(std::launch::async, deviceId));
        }
        for (auto& id : made) {
            EXPECT_EQ(storedSetting("deviceId"), id.get()) << "round " << round;
        }
    }
}

TEST_F(StartTest, DeviceIdThatIsStoredIsKept) {
    struct Row {
        const char* why;
        std::string stored;
        std::string read;  // empty: a new one is made
    };
    const Row rows[] = {
        {"no GUID", "my device", "my device"},
        {"as long as there is room for", std::string(64, 'x'), std::string(64, 'x')},
        {"up to the first zero byte", std::string("ab\0cd", 5), "ab"},
        {"too long", std::string(65, 'x'), ""},
        {"empty", "", ""},
        {"begins with a zero byte", std::string("\0ab", 3), ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        settings.store("deviceId", row.stored);
        const std::string id = deviceId();
        if (row.read.empty()) {
            EXPECT_EQ(36U, id.size());
            EXPECT_EQ(id, storedSetting("deviceId"));
        } else {
            EXPECT_EQ(row.read, id);
            EXPECT_EQ(row.stored, storedSetting("deviceId")) << "not written again";
        }
    }
}

TEST_F(StartTest, DeviceIdHoldsForOneRunWhereItCannotBeStored) {
    settings.takeAway();
    EXPECT_EQ(36U, deviceId().size());
    EXPECT_NE(deviceId(), deviceId());
    EXPECT_EQ(std::nullopt, storedSetting("deviceId"));
    EXPECT_EQ(0, start());
    EXPECT_EQ(36U, context(CONTEXT_DEVICE_ID).size());
}

namespace {

// A static object of a program that is made ahead of everything of the library's, and so goes behind it.
class LastReader {
public:
    explicit LastReader(std::string dataDir) : m_dataDir(std::move(dataDir)) {}
    ~LastReader() {
        const Context& context = *Context::getInstance();
        if (context.getContext(CONTEXT_DATA_DIR, "") != m_dataDir || createVloxClient("app", "late") <= 0 ||
            NetworkMonitor::getInstance()->getCurrentNetworkInfo().getIPAddress() != kAddress ||
            ConfigManager::getInstance("late")->getConfig(CONFIG_ENCRYPT_POLICY, 0) != 4 ||
            destroySDK() != 0) {
            std::_Exit(5);
        }
    }
    LastReader(const LastReader&) = delete;
    LastReader& operator=(const LastReader&) = delete;

    static constexpr char kAddress[] = "an address too long to be kept in the text object itself";

private:
    const std::string m_dataDir;
};

}  // namespace

TEST(Process, EndsCleanlyWhileTheNetworkIsWatched) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const vlox_test::UserSettings settings;
    const vlox_test::TempDir home;
    for (int round = 0; round < 5; ++round) {
        EXPECT_EXIT(
            {
                static const LastReader reader(home.path());
                std::filesystem::create_directories(home.path("log"));
                initialize({0, 0, home.path("log").c_str()}, home.path().c_str(), 0);
                const bool works = createVloxClient("app", "me") > 0;
                NetworkMonitor::getInstance()->notifyNetworkStatusChanged(std::string(R"({"ipAddress":")") +
                                                                          LastReader::kAddress + R"("})");
                NetworkMonitor::getInstance()->getCurrentNetworkInfo();
                std::error_code inUse;  // on some systems the log's file can't go yet
                std::filesystem::remove_all(home.path(), inUse);
                std::exit(works ? 3 : 4);
            },
            testing::ExitedWithCode(3), "");
    }
}
