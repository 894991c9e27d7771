#include <Poco/Timestamp.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "support/ResolverFixture.h"
#include "vloxlib/dnscache/HttpDnsPack.h"
#include "vloxlib/dnscache/IP.h"
#include "vloxlib/dnscache/InactiveDnsProviders.h"
#include "vloxlib/dnscache/ScoreManager.h"
#include "vloxlib/dnscache/ScorePlugins.h"
#include "vloxlib/dnscache/SpeedtestManager.h"
#include "vloxlib/dnscache/Tools.h"

using namespace vloxlib;
using vlox_test::answer;

namespace {

void addAddress(HttpDnsPack& pack, const std::string& ip, int64 ttl) {
    pack.dns.push_back(std::make_shared<IP>());
    pack.dns.back()->ip = ip;
    pack.dns.back()->ttl = ttl;
}

std::vector<int> gradesOf(const std::shared_ptr<DomainModel>& model) {
    std::vector<int> grades;
    for (const auto& ip : model->ipModels) {
        grades.push_back(ip->grade);
    }
    return grades;
}

}  // namespace

TEST(DnsRecords, TheShortestTimeToLiveIsTheDomains) {
    const struct {
        const char* why;
        std::vector<int64> ttls;
        int64 expireTime;
    } rows[] = {
        {"the shortest of several", {300, 30, 45}, 30},
        {"never above a minute", {300}, 60},
        {"no address", {}, 60},
        {"only the low half of a long number", {-0x100000001LL}, -1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        HttpDnsPack pack("a.test");
        pack.localhostSp = "carrier";
        for (const int64 ttl : row.ttls) {
            addAddress(pack, "10.0.0." + std::to_string(pack.dns.size()), ttl);
        }
        const auto model = pack.toDomainModel();
        EXPECT_EQ(row.expireTime, model->expireTime);
        ASSERT_EQ(row.ttls.size(), model->ipModels.size());
        if (!row.ttls.empty()) {
            EXPECT_EQ(row.ttls.front(), model->ipModels.front()->expireTime);
            EXPECT_EQ("10.0.0.0", model->ipModels.front()->ip);
            EXPECT_EQ("carrier", model->ipModels.front()->sp);
        }
    }
}

TEST(DnsRecords, APackIsLoggedAsJson) {
    HttpDnsPack pack("a\"b.test");
    addAddress(pack, "10.0.0.1", 60);
    addAddress(pack, "", 60);
    pack.rawResult = "raw";
    EXPECT_EQ(
        R"({"domain":"a\"b.test","device_ip":"","device_sp":"","dns":[{"ip":"10.0.0.1","ttl":60,"priority":0}],)"
        R"("localhostSp":"","rawResult":"raw"})",
        pack.toJson());
}

TEST(DnsRecords, ADomainIsGoodWhileOneAddressIsUsable) {
    EXPECT_TRUE(answer("a.test", {})->isExpired());
    const auto model = answer("a.test", {"far", "near"});
    model->expireTime = -1;
    EXPECT_FALSE(model->isExpired()) << "no time is looked at";
    model->ipModels.front()->roundtripTime = 9999;
    model->ipModels.back()->roundtripTime = 9998;
    EXPECT_FALSE(model->isExpired());
    ASSERT_EQ(1U, model->getUsableIps().size());
    EXPECT_EQ("near", model->getUsableIps().front()->ip);
    model->ipModels.back()->roundtripTime = 10000;
    EXPECT_TRUE(model->isExpired());
}

TEST(DnsScore, SuccessesDecideAndTheOrderStays) {
    const struct {
        const char* why;
        std::vector<int64> successes;
        std::vector<int> grades;
    } rows[] = {
        {"in proportion", {5, 10, 1}, {5, 10, 1}},
        {"cut, not rounded", {3, 2}, {10, 6}},
        {"no success at all", {0, 0}, {0, 0}},
        {"a single address keeps its grade", {5}, {77}},
        {"nonsense from a file",
         {1, std::numeric_limits<int64>::min()},
         {10, std::numeric_limits<int>::min()}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        const auto model = answer("a.test", {"first", "second", "third"});
        model->ipModels.resize(row.successes.size());
        auto success = row.successes.begin();
        for (const auto& ip : model->ipModels) {
            ip->successNum = *success++;
            ip->grade = 77;
            ip->finallySuccessTime = 1700000000;  // in seconds, as stored
        }
        const std::vector<std::string> order = vlox_test::ipsOf(model);
        EXPECT_EQ(std::list<std::string>(order.begin(), order.end()), ScoreManager().scoreDomain(model));
        EXPECT_EQ(row.grades, gradesOf(model));
    }
    EXPECT_TRUE(ScoreManager().scoreDomain(answer("a.test", {})).empty());
    EXPECT_TRUE(ScoreManager().toIpArray(answer("a.test", {"1"})->ipModels, 0).empty());
    EXPECT_EQ(0, SpeedtestManager().testSpeed("10.0.0.1", "a.test"));
}

TEST(DnsScore, AFreshSuccessIsReadInMicroseconds) {
    constexpr int64 kMinute = 60LL * 1000 * 1000;
    const int64 now = Poco::Timestamp().epochMicroseconds();
    const auto model = answer("a.test", {"now", "half", "day", "stored in seconds", "smallest", "largest"});
    auto ip = model->ipModels.begin();
    for (const int64 time : {now, now - 720 * kMinute / 1000, now - 1441 * kMinute / 1000, now / 1000000,
                             std::numeric_limits<int64>::min(), std::numeric_limits<int64>::max()}) {
        (*ip++)->finallySuccessTime = time;
    }
    SuccessTimePlugin().run(model->ipModels);
    std::vector<int> grades = gradesOf(model);
    EXPECT_LE(9, grades[0]);
    EXPECT_LE(4, grades[1]);
    EXPECT_GE(5, grades[1]);
    EXPECT_EQ(0, grades[2]);
    EXPECT_EQ(0, grades[3]);
}

TEST(DnsProviders, FiveStandIdle) {
    LocalDns local;
    CaresDns cares;
    TencentHttpDns tencent;
    DNSPodHttpDns dnsPod;
    AliyunHttpDns aliyun;
    for (IDnsProvider* provider :
         std::initializer_list<IDnsProvider*>{&local, &cares, &tencent, &dnsPod, &aliyun}) {
        EXPECT_FALSE(provider->isActivated());
        EXPECT_EQ(nullptr, provider->requestDns("localhost"));
    }
}

TEST(DnsTools, TakesHostAndPortOutOfAUrl) {
    const std::string longName(10000, 'n');
    const struct {
        const char* why;
        std::string url;
        std::string host;
        int port;
    } rows[] = {
        {"a port of its own", "http://a.test:8080/p?q=http://b.test:1", "a.test", 8080},
        {"the scheme's port", "https://a.test/p", "a.test", 443},
        {"a scheme without a port", "vlox://a.test/p", "a.test", 0},
        {"no URL", "http://a.test:port/", "", 80},
        {"a broken escape", "http://a.test/%zz", "", 80},
        {"a port out of range", "http://a.test:99999/", "", 80},
        {"no host", "http:///p", "", 80},
        {"a very long name", "http://" + longName + ":81", longName, 81},
        {"quotes", "http://o'brien\".test:81", "o'brien\".test", 81},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        const HOSTPORT found = Tools::getHOSTPORT(row.url);
        EXPECT_EQ(row.host, found.host);
        EXPECT_EQ(row.port, found.port);
    }
}
