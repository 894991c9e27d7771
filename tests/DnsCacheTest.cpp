#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/ResolverFixture.h"
#include "vloxlib/dnscache/DnsCacheManager.h"

using namespace vloxlib;
using vlox_test::answer;
using vlox_test::ipsOf;
using Texts = std::vector<std::string>;

namespace {

class DnsCacheTest : public ::testing::Test {
protected:
    DnsCacheTest() { EXPECT_TRUE(cache.init(file.directory())); }

    vlox_test::ResolverLog log;
    vlox_test::CacheFile file;
    DnsCacheManager cache;
};

}  // namespace

TEST_F(DnsCacheTest, OutlivesItsObject) {
    ASSERT_TRUE(cache.replaceDnsCache(answer("a.test", {"10.0.0.1", "10.0.0.2"})));
    EXPECT_TRUE(cache.init(file.directory())) << "a second start keeps the rows";
    EXPECT_EQ((Texts{"10.0.0.1", "10.0.0.2"}), ipsOf(cache.getDnsCache("", "a.test", true)));

    DnsCacheManager next;
    ASSERT_TRUE(next.init(file.directory()));
    const auto model = next.getDnsCache("", "a.test", true);
    EXPECT_EQ((Texts{"10.0.0.1", "10.0.0.2"}), ipsOf(model));
    EXPECT_EQ(60, model->expireTime);
    EXPECT_TRUE(ipsOf(next.getDnsCache("", "a.test", false)).empty());
    EXPECT_EQ(nullptr, next.getDnsCache("other", "a.test", true)) << "the carrier is a part of the key";
}

TEST_F(DnsCacheTest, GivesTheAddressThatWorkedLongestAgoFirst) {
    file.know("a.test", "last", 9, 300);
    file.know("a.test", "never, less", 1, 0);
    file.know("a.test", "longest ago", 0, 200);
    file.know("a.test", "never, more", 2, 0);
    EXPECT_EQ((Texts{"never, more", "never, less", "longest ago", "last"}),
              ipsOf(cache.getDnsCache("", "a.test", true)));
}

TEST_F(DnsCacheTest, AnAnswerRefreshesAddressesAndKeepsWhatWasLearned) {
    file.know("a.test", "10.0.0.1", 7, 300);
    file.know("a.test", "10.0.0.9", 1, 400);
    const auto fresh = answer("a.test", {"10.0.0.1"});
    fresh->finallyTime = 99;
    fresh->ipModels.front()->port = 81;
    fresh->ipModels.front()->priority = 5;
    fresh->ipModels.front()->expireTime = 30;
    fresh->ipModels.front()->successNum = 1000;
    ASSERT_TRUE(cache.replaceDnsCache(fresh));

    const auto model = cache.getDnsCache("", "a.test", true);
    ASSERT_EQ((Texts{"10.0.0.1", "10.0.0.9"}), ipsOf(model)) << "an address outside the answer stays";
    const IpModel& known = *model->ipModels.front();
    EXPECT_EQ(81, known.port);
    EXPECT_EQ(5, known.priority);
    EXPECT_EQ(30, known.expireTime);
    EXPECT_EQ(7, known.successNum);
    EXPECT_EQ(300, known.finallySuccessTime);
    EXPECT_EQ(1, model->finallyTime) << "a known domain keeps its first times";
    EXPECT_EQ(1, model->expireTime);
}

TEST_F(DnsCacheTest, CountsASuccessOfTheOneAddress) {
    ASSERT_TRUE(cache.replaceDnsCache(answer("a.test", {"10.0.0.1", "10.0.0.2"})));
    ASSERT_TRUE(cache.replaceDnsCache(answer("b.test", {"10.0.0.1"})));
    cache.setDomainSuccess("a.test", "10.0.0.1");
    cache.setDomainSuccess("a.test", "10.0.0.1");
    cache.setDomainSuccess("a.test", "10.9.9.9");
    EXPECT_TRUE(log.all().empty()) << "an address that the domain doesn't have is no matter";
    EXPECT_EQ(2, file.number("SELECT successNum FROM ip_t WHERE domain = 'a.test' AND ip = '10.0.0.1'"));
    EXPECT_EQ(2, file.number("SELECT SUM(successNum) FROM ip_t"));
    EXPECT_EQ(1,
              file.number("SELECT COUNT(*) FROM ip_t WHERE finallySuccessTime > strftime('%s', 'now') - 60"));

    cache.setDomainSuccess("unknown.test", "10.0.0.1");
    EXPECT_EQ(1, log.count(DNSCACHE_TRACE_INFORMATION, "The data does not exist in the db."));
    cache.setDomainSuccess("a.test", "");
    cache.setDomainSuccess("", "10.0.0.1");
    EXPECT_EQ(2, log.count(DNSCACHE_TRACE_WARNING, "param is null"));
}

TEST_F(DnsCacheTest, WhoLooksIntoTheFileHoldsUpNoWrite) {
    ASSERT_TRUE(cache.replaceDnsCache(answer("a.test", {"10.0.0.1"})));
    const auto reader = file.connect();
    ASSERT_EQ(SQLITE_OK, sqlite3_exec(reader.get(), "BEGIN; SELECT * FROM ip_t;", nullptr, nullptr, nullptr));
    cache.setDomainSuccess("a.test", "10.0.0.1");
    EXPECT_EQ(1, file.number("SELECT successNum FROM ip_t"));
}

TEST_F(DnsCacheTest, AFailureOfOneAddressForgetsTheDomain) {
    ASSERT_TRUE(cache.replaceDnsCache(answer("a.test", {"10.0.0.1", "10.0.0.2", "10.0.0.3"})));
    ASSERT_TRUE(cache.replaceDnsCache(answer("b.test", {"10.0.0.1"})));
    cache.setDomainFailure("a.test", "10.0.0.2", 7);
    EXPECT_EQ(nullptr, cache.getDnsCache("", "a.test", true));
    EXPECT_EQ(1, file.rows("domain_t"));
    EXPECT_EQ(1, file.rows("ip_t"));
    EXPECT_EQ((Texts{"10.0.0.1"}), ipsOf(cache.getDnsCache("", "b.test", true)));
}

TEST_F(DnsCacheTest, ADomainIsForgottenWholeOrNotAtAll) {
    ASSERT_TRUE(cache.replaceDnsCache(answer("a.test", {"10.0.0.1"})));
    file.raw("CREATE TRIGGER refuse BEFORE DELETE ON ip_t BEGIN SELECT RAISE(ABORT, 'injected'); END;");
    cache.deleteDomain("a.test");
    EXPECT_EQ(1, log.count(DNSCACHE_TRACE_ERROR, "sqlite3_step error."));
    EXPECT_EQ(1, file.rows("domain_t"));
    EXPECT_EQ(SQLITE_CONSTRAINT, cache.clear());
    EXPECT_NE(nullptr, cache.getDnsCache("", "a.test", true)) << "which ends what the clearing left open";
    file.raw("DROP TRIGGER refuse;");
    EXPECT_EQ(SQLITE_OK, cache.clear());
    EXPECT_EQ(0, file.rows("domain_t"));
    EXPECT_EQ(0, file.rows("ip_t"));
}

TEST_F(DnsCacheTest, AFailedStoreStaysOpenUntilTheNextOperation) {
    file.raw(
        "CREATE TRIGGER refuse BEFORE INSERT ON ip_t WHEN new.ip = 'bad' BEGIN "
        "SELECT RAISE(ABORT, 'injected'); END;");
    EXPECT_FALSE(cache.replaceDnsCache(answer("a.test", {"10.0.0.1", "bad", "10.0.0.2"})));
    EXPECT_EQ(1, log.count(DNSCACHE_TRACE_ERROR, "insertIpModel error."));
    EXPECT_EQ(0, file.rows("ip_t")) << "nothing is committed yet";
    EXPECT_EQ((Texts{"10.0.0.1"}), ipsOf(cache.getDnsCache("", "a.test", true)));
    EXPECT_EQ(1, file.rows("ip_t"));

    file.raw("CREATE TRIGGER keep BEFORE UPDATE ON ip_t BEGIN SELECT RAISE(ABORT, 'injected'); END;");
    EXPECT_FALSE(cache.replaceDnsCache(answer("a.test", {"10.0.0.1"})));
    EXPECT_EQ(1, log.count(DNSCACHE_TRACE_ERROR, "updateIpModel error."));
    cache.setDomainSuccess("a.test", "10.0.0.1");
    EXPECT_EQ(1, log.count(DNSCACHE_TRACE_ERROR, "updateDomainRecord error."));
}

TEST_F(DnsCacheTest, NothingIsLeftOfAnAnswerThatSqliteRolledBackByItself) {
    file.raw("CREATE TRIGGER full BEFORE INSERT ON domain_t BEGIN SELECT RAISE(ROLLBACK, 'injected'); END;");
    EXPECT_FALSE(cache.replaceDnsCache(answer("a.test", {"10.0.0.1", "10.0.0.2"})));
    EXPECT_EQ(0, file.rows("ip_t")) << "addresses without their domain";
    file.raw("DROP TRIGGER full;");
    EXPECT_TRUE(cache.replaceDnsCache(answer("a.test", {"10.0.0.1", "10.0.0.2"})));
    EXPECT_EQ((Texts{"10.0.0.1", "10.0.0.2"}), ipsOf(cache.getDnsCache("", "a.test", true)));
}

TEST_F(DnsCacheTest, TextsAreValuesWhateverTheyHold) {
    const struct {
        const char* why;
        std::string domain;
        std::string ip;
    } rows[] = {
        {"a quote", "o'brien.test", "10.0.0.1"},
        {"an injection", "x' OR '1'='1", "'); DELETE FROM ip_t; --"},
        {"a conversion", "%s%n.test", "%d"},
        {"more than any buffer", std::string(10000, 'n'), std::string(10000, '1')},
        {"not ASCII", "\xC3\xA4.test", "10.0.0.1"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        ASSERT_TRUE(cache.replaceDnsCache(answer(row.domain, {row.ip})));
        ASSERT_TRUE(cache.replaceDnsCache(answer(row.domain, {row.ip})));
        cache.setDomainSuccess(row.domain, row.ip);
        const auto model = cache.getDnsCache("", row.domain, true);
        ASSERT_EQ((Texts{row.ip}), ipsOf(model));
        EXPECT_EQ(row.domain, model->domain);
        EXPECT_EQ(1, model->ipModels.front()->successNum);
    }
    EXPECT_EQ(5, file.rows("ip_t"));
    cache.deleteDomain("x' OR '1'='1");
    EXPECT_EQ(4, file.rows("ip_t"));
    EXPECT_EQ(nullptr, cache.getDnsCache("", "", true));
    EXPECT_TRUE(log.all().empty());
}

TEST(DnsCache, WithoutAFileItKnowsNothingAndStoresNothing) {
    vlox_test::ResolverLog log;
    vlox_test::CacheFile garbage;
    garbage.dir().write("vloxDomain.db", std::string(4096, 'x'));
    DnsCacheManager noDatabase;
    EXPECT_FALSE(noDatabase.init(garbage.directory()));
    EXPECT_EQ(1, log.count(DNSCACHE_TRACE_ERROR, "createTables error."));
    DnsCacheManager noDirectory;
    EXPECT_FALSE(noDirectory.init(garbage.directory() + "/missing"));
    EXPECT_EQ(1, log.count(DNSCACHE_TRACE_ERROR, "sqlite3_open_v2 error."));
    EXPECT_EQ(1, log.count(DNSCACHE_TRACE_ERROR, "createDB error."));
    EXPECT_EQ(3U, log.all().size());

    DnsCacheManager neverStarted;
    long misses = 0;
    for (DnsCacheManager* cache : {&noDatabase, &noDirectory, &neverStarted}) {
        EXPECT_FALSE(cache->replaceDnsCache(answer("a.test", {"10.0.0.1"})));
        EXPECT_EQ(nullptr, cache->getDnsCache("", "a.test", true));
        misses += 2;  // one while storing, one while reading
        EXPECT_EQ(misses, log.count(DNSCACHE_TRACE_ERROR, "sqlite3_prepare_v2 error sp =  domain = a.test."));
        cache->deleteDomain("a.test");
        EXPECT_NE(SQLITE_OK, cache->clear());
    }
    EXPECT_EQ(std::string(4096, 'x'), garbage.dir().read("vloxDomain.db"));
}
