#include <Poco/ThreadPool.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <list>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/LogCapture.h"
#include "support/Patterns.h"
#include "support/ResolverFixture.h"
#include "vloxlib/Context.h"
#include "vloxlib/dnscache/DNSCache.h"
#include "vloxlib/dnscache/DnsCacheManager.h"
#include "vloxlib/dnscache/DnsManager.h"
#include "vloxlib/dnscache/HttpDnsPack.h"
#include "vloxlib/dnscache/IP.h"
#include "vloxlib/dnscache/QueryManager.h"
#include "vloxlib/dnscachehelper/DnsCacheHelper.h"

using namespace vloxlib;
using vlox_test::ipsOf;
using Texts = std::vector<std::string>;

namespace {

// A name that no resolver knows.
constexpr const char* kUnknown = "nowhere.invalid";

// Answers every question with the same addresses; none when there is no list of them.
class FixedDns : public IDns {
public:
    std::shared_ptr<HttpDnsPack> requestDns(std::string domain) override {
        ++asked;
        if (!ips) {
            return nullptr;
        }
        auto pack = std::make_shared<HttpDnsPack>(domain);
        for (const std::string& ip : *ips) {
            pack->dns.push_back(std::make_shared<IP>());
            pack->dns.back()->ip = ip;
        }
        return pack;
    }
    std::list<std::string> getDebugInfo() override { return {}; }
    void clearDebugInfo() override {}

    std::unique_ptr<Texts> ips;
    int asked = 0;
};

class DnsQueryTest : public ::testing::Test {
protected:
    DnsQueryTest() { EXPECT_TRUE(cache->init(file.directory())); }

    Texts query(const std::string& domain) { return ipsOf(manager.queryDomain("", domain)); }

    vlox_test::CacheFile file;
    std::shared_ptr<DnsCacheManager> cache = std::make_shared<DnsCacheManager>();
    std::shared_ptr<FixedDns> dns = std::make_shared<FixedDns>();
    QueryManager manager{cache, dns};
};

// The process's own resolver, on a file of the test's own; names are the test's own too, since choices stick.
class DnsFrontTest : public ::testing::Test {
protected:
    DnsFrontTest() { EXPECT_EQ(0, resolver->init(file.directory())); }

    vlox_test::ResolverLog log;
    vlox_test::CacheFile file;
    std::shared_ptr<DNSCache> resolver = DNSCache::getInstance();
};

}  // namespace

TEST_F(DnsQueryTest, AStoredAddressIsServedForEver) {
    file.know("a.test", "10.0.0.1");  // its time to live ended long ago
    dns->ips = std::make_unique<Texts>(Texts{"10.0.0.2"});
    EXPECT_EQ((Texts{"10.0.0.1"}), query("a.test"));
    EXPECT_EQ((Texts{"10.0.0.1"}), ipsOf(manager.getCachedDomain("", "a.test")));
    EXPECT_EQ(0, dns->asked);
}

TEST_F(DnsQueryTest, AnAnswerIsStoredAndGivenInTheProvidersOrder) {
    file.know("a.test", "10.0.0.1", 5, 0);
    file.raw("UPDATE ip_t SET roundtripTime = 9999;");
    dns->ips = std::make_unique<Texts>(Texts{"10.0.0.3", "10.0.0.2"});
    EXPECT_EQ((Texts{"10.0.0.3", "10.0.0.2"}), query("a.test")) << "the unusable address isn't served";
    EXPECT_EQ((Texts{"10.0.0.1", "10.0.0.2", "10.0.0.3"}), query("a.test")) << "now the cache answers";
    EXPECT_EQ(1, dns->asked);
}

TEST_F(DnsQueryTest, NoAnswerIsNoAddressAndIsNotStored) {
    file.know("stale.test", "10.0.0.1");
    file.raw("UPDATE ip_t SET roundtripTime = 10000;");
    EXPECT_EQ(nullptr, manager.queryDomain("", "stale.test")) << "what can't be used isn't served";
    dns->ips = std::make_unique<Texts>();
    EXPECT_EQ(nullptr, manager.queryDomain("", "a.test")) << "a pack without addresses";
    EXPECT_EQ(2, dns->asked);
    EXPECT_EQ(1, file.rows("domain_t"));
}

TEST(DnsManager, AsksTheSystemsResolver) {
    vlox_test::ResolverLog log;
    DnsManager manager;
    const auto local = manager.requestDns("localhost");
    ASSERT_NE(nullptr, local);
    ASSERT_EQ(1U, local->dns.size()) << "each IPv4 address once, and no other";
    EXPECT_EQ("127.0.0.1", local->dns.front()->ip);
    EXPECT_EQ(60, local->dns.front()->ttl);
    EXPECT_EQ(1, log.count(DNSCACHE_TRACE_INFORMATION, local->toJson()));

    for (const std::string& name :
         {std::string(kUnknown), std::string(10000, 'n'), std::string("o'brien\".invalid")}) {
        const auto before = log.all().size();
        EXPECT_EQ(nullptr, manager.requestDns(name));
        ASSERT_EQ(before + 2, log.all().size());
        EXPECT_THAT(log.all()[before].text, ::testing::HasSubstr("requestDns exception, code="));
    }
    EXPECT_EQ(3, log.count(DNSCACHE_TRACE_ERROR, "requestDns return nullptr"));
    EXPECT_TRUE(manager.getDebugInfo().empty());
}

TEST_F(DnsFrontTest, TheFirstStoredAddressSticksUntilItFails) {
    file.know("sticks.invalid", "10.0.0.1", 0, 200);
    file.know("sticks.invalid", "10.0.0.2", 0, 100);
    EXPECT_EQ("10.0.0.2", resolver->getIpByDomain("sticks.invalid"));
    file.raw("UPDATE ip_t SET finallySuccessTime = 300 WHERE ip = '10.0.0.2';");
    EXPECT_EQ("10.0.0.2", resolver->getIpByDomain("sticks.invalid"));

    resolver->notifyFailureIpByDomain("sticks.invalid", "10.0.0.2", 7);
    EXPECT_EQ(0, file.rows("domain_t"));
    EXPECT_EQ(0, file.rows("ip_t"));
    EXPECT_EQ("", resolver->getIpByDomain("sticks.invalid")) << "the system's resolver is asked anew";
    EXPECT_EQ(1, log.count(DNSCACHE_TRACE_ERROR, "requestDns return nullptr"));
}

TEST_F(DnsFrontTest, ASuccessMovesAChoiceButMakesNone) {
    file.know("moves.invalid", "10.0.0.1");
    file.know("moves.invalid", "10.0.0.2");
    resolver->notifySuccessIpByDomain("moves.invalid", "10.0.0.1");
    EXPECT_EQ(1, file.number("SELECT successNum FROM ip_t WHERE ip = '10.0.0.1'"));
    EXPECT_EQ("10.0.0.2", resolver->getIpByDomain("moves.invalid")) << "never used comes first";
    resolver->notifySuccessIpByDomain("moves.invalid", "10.0.0.1");
    EXPECT_EQ("10.0.0.1", resolver->getIpByDomain("moves.invalid"));
}

TEST_F(DnsFrontTest, WhatIsNoNameNeedsNoResolve) {
    file.know("", "10.9.9.9");
    for (const std::string text : {"", "192.0.2.7", "127.1", "0x7f000001"}) {
        EXPECT_EQ(text, resolver->getIpByDomain(text));
    }
    EXPECT_TRUE(log.all().empty());
    file.know("255.255.255.255", "10.0.0.1");
    EXPECT_EQ("10.0.0.1", resolver->getIpByDomain("255.255.255.255"))
        << "the one address that the test refuses";
}

TEST_F(DnsFrontTest, AnUnusableFileMeansAskingEachTime) {
    vlox_test::CacheFile garbage;
    garbage.dir().write("vloxDomain.db", std::string(4096, 'x'));
    EXPECT_EQ(0, resolver->init(garbage.directory()));
    EXPECT_EQ(1, log.count(DNSCACHE_TRACE_ERROR, "createTables error."));
    EXPECT_EQ("127.0.0.1", resolver->getIpByDomain("localhost"));
    resolver->notifyFailureIpByDomain("localhost", "127.0.0.1", 7);
    EXPECT_EQ("127.0.0.1", resolver->getIpByDomain("localhost"));
    resolver->notifyFailureIpByDomain("localhost", "127.0.0.1", 7);
    EXPECT_EQ(1, log.count(DNSCACHE_TRACE_ERROR, "createTables error."));
}

TEST_F(DnsFrontTest, PreloadedDomainsLandInTheFileOnly) {
    resolver->preLoadDomains({"", "192.0.2.7", kUnknown, "localhost"});
    while (Poco::ThreadPool::defaultPool().used() > 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    EXPECT_EQ(1, file.number("SELECT COUNT(*) FROM ip_t WHERE domain = 'localhost' AND ip = '127.0.0.1'"));
    EXPECT_EQ(1, file.rows("domain_t"));
    file.raw("UPDATE ip_t SET ip = '127.0.0.9';");
    EXPECT_EQ("127.0.0.9", resolver->getIpByDomain("localhost")) << "the first question goes to the file";
    resolver->notifyFailureIpByDomain("localhost", "127.0.0.9", 7);
}

// The walk for "localhost" stands still in its log line.
TEST_F(DnsFrontTest, ASlowNameHoldsUpThoseWhoWaitForItAndNobodyElse) {
    static std::promise<void> begun;
    static std::promise<void> letGo;
    static std::atomic<int> walks{0};
    DNSCacheLog::getInstance()->setTraceCallback([](DNSCache_TRACE_LEVELS, const char* text) {
        if (std::string(text).find(R"({"domain":"localhost")") != std::string::npos && ++walks == 1) {
            begun.set_value();
            letGo.get_future().wait();
        }
    });
    auto first = std::async(std::launch::async, [this] { return resolver->getIpByDomain("localhost"); });
    begun.get_future().wait();
    ResolvePatience none;
    none.until = std::chrono::steady_clock::now();
    EXPECT_EQ(Texts{}, resolver->getIpsByDomain("localhost", none));
    ResolvePatience cancelled;
    cancelled.givenUp = [] { return true; };
    EXPECT_EQ(Texts{}, resolver->getIpsByDomain("localhost", cancelled));
    EXPECT_EQ("", resolver->getIpByDomain(kUnknown));
    auto second = std::async(std::launch::async, [this] { return resolver->getIpByDomain("localhost"); });
    letGo.set_value();
    EXPECT_EQ("127.0.0.1", first.get());
    EXPECT_EQ("127.0.0.1", second.get());
    EXPECT_EQ(1, walks) << "all who asked shared one walk";
    resolver->notifyFailureIpByDomain("localhost", "127.0.0.1", 7);
}

TEST_F(DnsFrontTest, ManyThreadsSeeOneResolver) {
    file.know("many.invalid", "10.0.0.1");
    std::vector<std::future<void>> users;
    for (int user = 0; user < 4; ++user) {
        users.push_back(std::async(std::launch::async, [this, user] {
            const std::string own = "many" + std::to_string(user) + ".invalid";
            for (int i = 0; i < 10; ++i) {
                EXPECT_EQ("10.0.0.1", resolver->getIpByDomain("many.invalid"));
                resolver->notifySuccessIpByDomain("many.invalid", "10.0.0.1");
                resolver->notifyFailureIpByDomain(own, "10.0.0.1", 7);
            }
        }));
    }
    for (auto& user : users) {
        user.get();
    }
    EXPECT_EQ(40, file.number("SELECT successNum FROM ip_t"));
}

namespace {

// Ends the process while as many background resolves as the pool takes are under way, one of them held up in
// its log line.
[[noreturn]] void exitInTheMiddleOfResolves() {
    static auto& held = *new std::promise<void>;
    static std::atomic_flag first = ATOMIC_FLAG_INIT;
    const vlox_test::TempDir dir;
    DNSCache::getInstance()->init(dir.path());
    DNSCacheLog::getInstance()->setTraceCallback([](DNSCache_TRACE_LEVELS, const char*) {
        if (!first.test_and_set()) {
            held.set_value();
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
        }
    });
    std::list<std::string> domains;
    for (int i = 0; i < 100; ++i) {
        domains.push_back(i % 2 == 0 ? "localhost" : "nowhere" + std::to_string(i) + ".invalid");
    }
    DNSCache::getInstance()->preLoadDomains(domains);
    held.get_future().wait();
    std::exit(0);
}

// In a process of its own, where nobody has started the resolver yet.
[[noreturn]] void startTwice() {
    const vlox_test::TempDir dir;
    Context::getInstance()->setContext(CONTEXT_DATA_DIR, dir.path());
    const vlox_test::LogCapture log;
    DnsCacheHelper& helper = DnsCacheHelper::getInstance();
    const bool started = helper.initDNSCache() == 0 && helper.initDNSCache() == -1 &&
                         std::filesystem::exists(dir.path("vloxDomain.db"));
    const struct {
        int traced;
        const char* logged;
    } levels[] = {{0, "T"}, {1, "C"}, {2, "E"}, {3, "E"}, {4, "W"},
                  {5, "W"}, {6, "I"}, {7, "D"}, {8, "T"}, {9, "T"}};
    DNSCacheLog::getInstance()->setTraceCallbackLevel(static_cast<DNSCache_TRACE_LEVELS>(9));
    bool mapped = true;
    for (const auto& level : levels) {
        const std::string text = "level " + std::to_string(level.traced);
        DNSCacheLog::getInstance()->log(level.traced, "test", "%s", text.c_str());
        mapped = mapped && log.count(level.logged, text) == 1;
    }
    const bool told = log.count("I", "hasInited:false") == 1 && log.count("I", "hasInited:true") == 1;
    std::exit(started && mapped && told ? 0 : 1);
}

}  // namespace

TEST(DnsExitDeathTest, BackgroundResolvesDontDisturbTheEndOfTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(exitInTheMiddleOfResolves(), ::testing::ExitedWithCode(0), "");
}

TEST(DnsHelperDeathTest, StartsOnceAndForwardsTheLog) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(startTwice(), ::testing::ExitedWithCode(0), "");
}

TEST(DnsLog, FormatsForTheCallbackOnly) {
    vlox_test::ResolverLog log;
    const auto out = DNSCacheLog::getInstance();
    out->log(DNSCACHE_TRACE_ERROR, "unit", "%d and %s", 7, "text");
    out->log("file.cpp", 42, DNSCACHE_TRACE_WARNING, "function", "placed");
    out->log(DNSCACHE_TRACE_DEBUG, "unit", "too fine");
    out->log(DNSCACHE_TRACE_ERROR, "unit", "%s", std::string(5000, 'x').c_str());
    ASSERT_EQ(3U, log.all().size());
    EXPECT_THAT(log.all()[0].text,
                vlox_test::IsOfPattern("\\[....-..-..  ..:..:..\\] \\[ 0\\] \\[unit\\] Error: 7 and text"));
    EXPECT_THAT(log.all()[1].text, ::testing::EndsWith("[file.cpp 42] [function] Warning: placed"));
    EXPECT_THAT(log.all()[2].text, ::testing::EndsWith(": " + std::string(1023, 'x')));
    EXPECT_EQ(DNSCACHE_TRACE_WARNING, log.all()[1].level);

    out->setTraceCallbackLevel(DNSCACHE_TRACE_DEBUG);
    out->log(DNSCACHE_TRACE_DEBUG, "unit", "fine");
    out->setTraceCallbackLevel(DNSCACHE_TRACE_INFORMATION);
    EXPECT_EQ(1, log.count(DNSCACHE_TRACE_DEBUG, "Debug: fine"));
}
