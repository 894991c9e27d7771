#include <curl/curl.h>
#include <gtest/gtest.h>
#include <openssl/x509.h>

#include <atomic>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "support/DataDir.h"
#include "support/DevServer.h"
#include "support/LogCapture.h"
#include "support/ResolverFixture.h"
#include "support/TempDir.h"
#include "vloxlib/ConfigManager.h"
#include "vloxlib/dnscache/DNSCache.h"
#include "vloxlib/encrypt/EncryptBridge.h"
#include "vloxlib/http/HttpClient.h"
#include "vloxlib/http/HttpHelper.h"
#include "vloxlib/utility/FileUtil.h"

using namespace vloxlib;
using vlox_test::LogCapture;
using vlox_test::TempDir;

namespace {

constexpr int kRefused = -199;

std::string contentOf(const std::string& path) {
    std::string content;
    EXPECT_EQ(0, FileUtil::readFileContent(path, content)) << path;
    return content;
}

// The settings of an exchange; those of a row that says nothing else.
struct Settings {
    int policy = SECURITY_POLICY_SERVER_CA;
    std::string caContent = "";
    std::string caPath = "";
    std::string clientContent = "";
    std::string clientPath = "";
    std::string password = "";
    bool verifyHost = true;
};

void prepare(HttpClient& client, const std::string& url, const Settings& settings) {
    client.createGetRequest(url);
    client.setSecurityPolicy(static_cast<SecurityPolicy>(settings.policy));
    client.setCAContent(settings.caContent);
    client.setCAPath(settings.caPath);
    client.setClientCertContent(settings.clientContent);
    client.setClientCertPath(settings.clientPath);
    client.setKeyPassword(settings.password);
    client.setVerifyHost(settings.verifyHost);
}

class TlsTest : public testing::Test {
protected:
    int get(const std::string& url, const Settings& settings) {
        HttpClient client;
        prepare(client, url, settings);
        return perform(client);
    }
    // An exchange that is refused brings neither status nor body.
    int perform(HttpClient& client) {
        long status = -1;
        client.setResultData("");
        const int code = client.performSync(nullptr, &status);
        EXPECT_EQ(code == 0 ? 200 : 0, status);
        EXPECT_EQ(code == 0, !client.getResultData().empty());
        return code;
    }
    std::string url(const std::string& port) { return server.httpsUrl(port, "/mirror"); }

    Settings trusting(const std::string& caContent) const {
        Settings settings;
        settings.caContent = caContent;
        return settings;
    }
    Settings mutual() const {
        Settings settings = trusting(authority);
        settings.policy = SECURITY_POLICY_MUTUAL;
        settings.clientPath = server.clientFile();
        settings.password = server.clientKeyPassword();
        return settings;
    }
    std::string other(const std::string& name) const { return keys.path("tls/" + name); }

    const TempDir keys;
    const vlox_test::DataDir dataDir;
    const vlox_test::DevServer server{{"--tls", "--keys", keys.path()}};
    const std::string authority = contentOf(server.authorityFile());
};

}  // namespace

TEST_F(TlsTest, EachPolicyAcceptsWhatItMayAndNothingElse) {
    const char* const ports[] = {"good",        "wrongHost",        "expired",
                                 "notYetValid", "unknownAuthority", "clientCertificate"};
    const std::set<std::string> none;
    const std::set<std::string> anybody = {"good", "wrongHost", "expired", "notYetValid", "unknownAuthority"};
    const struct {
        const char* why;
        int policy;
        bool trusted;
        bool verifyHost;
        std::set<std::string> accepted;
    } rows[] = {
        {"libcurl's own rules, the system's authorities only", SECURITY_POLICY_PLAIN, true, true, none},
        {"libcurl's own rules, whatever is set", SECURITY_POLICY_PLAIN, true, false, none},
        {"nothing is verified", SECURITY_POLICY_NO_VERIFY, false, true, anybody},
        {"nothing is verified, with an authority too", SECURITY_POLICY_NO_VERIFY, true, true, anybody},
        {"a value without a name", 7, false, true, anybody},
        {"a negative value", -1, true, true, anybody},
        {"verified", SECURITY_POLICY_SERVER_CA, true, true, {"good"}},
        {"verified but for the name", SECURITY_POLICY_SERVER_CA, true, false, {"good", "wrongHost"}},
        {"a private authority isn't built in", SECURITY_POLICY_SERVER_CA, false, true, none},
        {"not even without the name", SECURITY_POLICY_SERVER_CA, false, false, none},
        {"both verified", SECURITY_POLICY_MUTUAL, true, true, {"good", "clientCertificate"}},
        {"both verified but for the name",
         SECURITY_POLICY_MUTUAL,
         true,
         false,
         {"good", "wrongHost", "clientCertificate"}},
        {"a known client, an unknown server", SECURITY_POLICY_MUTUAL, false, true, none},
    };
    for (const auto& row : rows) {
        for (const char* port : ports) {
            SCOPED_TRACE(std::string(row.why) + ", policy " + std::to_string(row.policy) + ": " + port);
            Settings settings = mutual();
            settings.policy = row.policy;
            settings.caContent = row.trusted ? authority : "";
            settings.verifyHost = row.verifyHost;
            const long long before = server.count("requests");
            const bool accepted = row.accepted.count(port) != 0;
            EXPECT_EQ(accepted ? 0 : kRefused, get(url(port), settings));
            EXPECT_EQ(before + (accepted ? 2 : 1), server.count("requests"))
                << "what went out; one is the count";
        }
    }
}

TEST_F(TlsTest, AnAuthorityIsATextOrAFileOrAmongMany) {
    const TempDir files;
    const std::string unknown = contentOf(other("unknown-authority.pem"));
    const std::string broken = unknown.substr(0, unknown.size() / 2) + "\n";
    files.write("authority.pem", authority);
    files.write("unknown.pem", unknown);
    const std::string beyondAscii = files.path() + "/autorité.pem";
    ASSERT_EQ(0, FileUtil::writeFileContent(beyondAscii, authority));
    files.write("broken.pem", broken + authority);
    const struct {
        const char* why;
        std::string content;
        std::string path;
        int code;
    } rows[] = {
        {"text", authority, "", 0},
        {"file", "", files.path("authority.pem"), 0},
        {"both", authority, files.path("authority.pem"), 0},
        {"the text beside another file", authority, files.path("unknown.pem"), 0},
        {"the file beside another text", unknown, files.path("authority.pem"), 0},
        {"a name beyond ASCII", "", beyondAscii, 0},
        {"the text, though the file is missing", authority, files.path("nowhere.pem"), 0},
        {"many in a text", unknown + authority, "", 0},
        {"behind a malformed one", broken + authority, "", 0},
        {"behind a malformed one in a file", "", files.path("broken.pem"), 0},
        {"in a file behind a text that never ends", broken, files.path("authority.pem"), 0},
        {"the server's own certificate", contentOf(other("server.pem")), "", 0},
        {"another server's certificate", contentOf(other("server-wrong-host.pem")), "", kRefused},
        {"none", "", "", kRefused},
        {"another", unknown, files.path("unknown.pem"), kRefused},
        {"only half of it", authority.substr(0, authority.size() / 2), "", kRefused},
        {"a missing file", "", files.path("nowhere.pem"), kRefused},
        {"a directory", "", files.path(), kRefused},
        {"its path as a text", files.path("authority.pem"), "", kRefused},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        Settings settings = trusting(row.content);
        settings.caPath = row.path;
        EXPECT_EQ(row.code, get(url("good"), settings));
    }
}

TEST_F(TlsTest, AClientShowsItsCertificate) {
    const TempDir files;
    const std::string password = server.clientKeyPassword();
    const std::string client = contentOf(server.clientFile());
    const std::string certificate = client.substr(0, client.find("-----BEGIN E"));
    const std::string key = client.substr(certificate.size());
    const std::string stranger =
        contentOf(other("unknown-authority.pem")) + contentOf(other("unknown-authority.key"));
    files.write("client.pem", client);
    files.write("stranger.pem", stranger);
    const std::string beyondAscii = files.path() + "/cliënt.pem";
    ASSERT_EQ(0, FileUtil::writeFileContent(beyondAscii, client));
    files.write("empty.pem", "");
    const struct {
        const char* why;
        std::string content;
        std::string path;
        std::string password;
        int code;
        const char* logged;
    } rows[] = {
        {"text", client, "", password, 0, nullptr},
        {"file", "", files.path("client.pem"), password, 0, nullptr},
        {"a name beyond ASCII", "", beyondAscii, password, 0, nullptr},
        {"both", client, files.path("client.pem"), password, 0, nullptr},
        {"the text goes first", client, files.path("stranger.pem"), password, 0, nullptr},
        {"the text goes first, wrong as it is", stranger, files.path("client.pem"), password, kRefused,
         nullptr},
        {"wrong password", client, "", password + "x", kRefused, "wrong password"},
        {"wrong password for a file", "", files.path("client.pem"), "x", kRefused, "Use Key failed"},
        {"no password", client, "", "", kRefused, "Failed to create key bio"},
        {"no key", certificate, "", password, kRefused, "Failed to create key bio"},
        {"no certificate", key, "", password, kRefused, "PEM_read_bio_X509 failed."},
        {"key in front", key + certificate, "", password, 0, nullptr},
        {"a malformed certificate", certificate.substr(0, 100) + "\n" + key, "", password, kRefused,
         "Use certificate failed"},
        {"absent", "", "", "", kRefused, "param error."},
        {"an empty file", "", files.path("empty.pem"), password, kRefused, "param error."},
        {"a missing file", "", files.path("nowhere.pem"), password, kRefused, "param error."},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        const LogCapture log;
        Settings settings = mutual();
        settings.clientContent = row.content;
        settings.clientPath = row.path;
        settings.password = row.password;
        EXPECT_EQ(row.code, get(url("clientCertificate"), settings));
        if (row.logged) {
            EXPECT_EQ(1, log.count("E", row.logged));
        } else {
            EXPECT_EQ(0, log.count("E", "ertificate") + log.count("E", "ey"));
        }
    }
    Settings absent = mutual();
    absent.clientPath.clear();
    EXPECT_EQ(kRefused, get(url("good"), absent)) << "without a certificate nobody is trusted";
}

TEST_F(TlsTest, AChangedTextOrFileCountsAtOnce) {
    const TempDir files;
    const std::string unknown = contentOf(other("unknown-authority.pem"));
    const std::string path = files.path("authority.pem");
    for (const std::string& text : {unknown, authority, unknown, authority + unknown, std::string("gone")}) {
        const int code = text.find(authority) == std::string::npos ? kRefused : 0;
        files.write("authority.pem", text);
        Settings settings = trusting("");
        settings.caPath = path;
        EXPECT_EQ(code, get(url("good"), settings));
        EXPECT_EQ(code, get(url("good"), trusting(text)));
    }
    const std::string client = contentOf(server.clientFile());
    for (const std::string& text :
         {std::string("nobody"), client, client.substr(0, client.size() / 2), client}) {
        files.write("client.pem", text);
        Settings settings = mutual();
        settings.clientPath = files.path("client.pem");
        EXPECT_EQ(text == client ? 0 : kRefused, get(url("clientCertificate"), settings));
    }
}

// A connection, and a session, that were made under other settings must not be used on.
TEST_F(TlsTest, AClientThatIsUsedAgainIsAsStrictAsItsSettings) {
    const std::string unknown = contentOf(other("unknown-authority.pem"));
    Settings nobody = mutual();
    nobody.clientPath.clear();
    nobody.clientContent = contentOf(other("unknown-authority.pem"));
    Settings careless = trusting("");
    careless.policy = SECURITY_POLICY_NO_VERIFY;
    Settings plain = trusting("");
    plain.policy = SECURITY_POLICY_PLAIN;
    Settings nameless = trusting(authority);
    nameless.verifyHost = false;
    const struct {
        const char* why;
        const char* port;
        Settings first;
        Settings then;
    } rows[] = {
        {"another authority", "good", trusting(authority), trusting(unknown)},
        {"nobody trusted any more", "good", trusting(authority), trusting("")},
        {"verified from now on", "good", careless, trusting("")},
        {"back to libcurl's rules", "good", careless, plain},
        {"the name counts from now on", "wrongHost", nameless, trusting(authority)},
        {"no certificate of the client's any more", "clientCertificate", mutual(), trusting(authority)},
        {"another certificate of the client's", "clientCertificate", mutual(), nobody},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        HttpClient client;
        prepare(client, url(row.port), row.first);
        EXPECT_EQ(0, perform(client));
        HttpClient copy = client;
        prepare(client, url(row.port), row.then);
        EXPECT_EQ(kRefused, perform(client));
        prepare(copy, url(row.port), row.then);
        EXPECT_EQ(kRefused, perform(copy));
        prepare(client, url(row.port), row.first);
        EXPECT_EQ(0, perform(client));
    }
}

TEST_F(TlsTest, ARedirectIsVerifiedAsWell) {
    for (const auto& [port, code] :
         std::map<std::string, int>{{"clientCertificate", 0}, {"expired", kRefused}}) {
        SCOPED_TRACE(port);
        const vlox_test::DevServer referring(
            {"--tls", "--keys", keys.path(), "--misbehave", "status=302,location=" + url(port)});
        for (const std::string& first : {referring.httpsUrl("good"), referring.url()}) {
            HttpClient client;
            prepare(client, first + "/echo?params=e30", mutual());
            EXPECT_EQ(code, client.performSync(nullptr, nullptr));
        }
    }
}

TEST_F(TlsTest, ARedirectNeverLeavesTls) {
    const auto referringTo = [&](const std::string& target) {
        return std::vector<std::string>{"--tls", "--keys", keys.path(), "--misbehave",
                                        "status=302,location=" + target};
    };
    const vlox_test::DevServer down(referringTo(server.url("/mirror")));
    const vlox_test::DevServer up(referringTo(down.httpsUrl("good")));
    for (const auto& [first, code] : std::map<std::string, int>{
             {down.url(), 0}, {down.httpsUrl("good"), kRefused}, {up.url(), kRefused}}) {
        SCOPED_TRACE(first);
        const long long before = server.count("requests");
        HttpClient client;
        prepare(client, first + "/echo?params=e30", mutual());
        EXPECT_EQ(code, client.performSync(nullptr, nullptr));
        EXPECT_EQ(before + (code == 0 ? 2 : 1), server.count("requests"));
    }
}

TEST_F(TlsTest, EachRefusalSaysWhy) {
    std::set<std::string> reasons;
    for (const auto& [port, verdict] :
         std::map<std::string, long>{{"expired", X509_V_ERR_CERT_HAS_EXPIRED},
                                     {"notYetValid", X509_V_ERR_CERT_NOT_YET_VALID},
                                     {"unknownAuthority", X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY},
                                     {"wrongHost", X509_V_OK},
                                     {"clientCertificate", X509_V_OK}}) {
        SCOPED_TRACE(port);
        const LogCapture log;
        HttpClient client;
        prepare(client, url(port), trusting(authority));
        EXPECT_EQ(kRefused, perform(client));
        EXPECT_EQ(verdict, client.getOutcome().verifyResult);
        reasons.insert(std::to_string(client.getOutcome().curlCode) + client.getOutcome().curlText);
        EXPECT_EQ(1, log.count("W", "(" + client.getOutcome().curlText + "),verify="));
    }
    EXPECT_EQ(5U, reasons.size());
}

TEST_F(TlsTest, APinnedAddressIsAskedUnderItsName) {
    const vlox_test::CacheFile resolver;
    DNSCache::getInstance()->init(resolver.directory());
    resolver.know("elsewhere.invalid", "127.0.0.1");
    HttpClient client;
    prepare(client, server.httpsUrl("wrongHost", "/mirror", "elsewhere.invalid"), trusting(authority));
    EXPECT_EQ(0, perform(client)) << "the name is the certificate's, wherever the address comes from";
    EXPECT_NE(std::string::npos, client.getResultData().find("elsewhere.invalid:")) << "the Host header";
    EXPECT_EQ(kRefused, get(server.httpsUrl("good", "/mirror", "elsewhere.invalid"), trusting(authority)));
}

TEST_F(TlsTest, WhatACallerAddsToTheHandleIsTrustedToo) {
    HttpClient client;
    prepare(client, url("good"), trusting(""));
    client.syncCommonParams(nullptr);
    curl_easy_setopt(client.getCurlHandle(), CURLOPT_CAINFO, server.authorityFile().c_str());
    EXPECT_EQ(0, client.httpPerform(nullptr));
}

TEST_F(TlsTest, ExchangesOfAllKindsRunInParallel) {
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    const std::string unknown = contentOf(other("unknown-authority.pem"));
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] {
            for (int round = 0; round < 10; ++round) {
                const std::string fresh = "# " + std::to_string(i) + " " + std::to_string(round) + "\n";
                Settings anew = mutual();
                anew.clientContent = fresh + contentOf(server.clientFile());
                wrong += get(url("good"), trusting(authority)) != 0;
                wrong += get(url("clientCertificate"), anew) != 0;
                wrong += get(url("good"), trusting(fresh + authority)) != 0;
                wrong += get(url("good"), trusting(fresh + unknown)) != kRefused;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(0, wrong);
}

// A client's configuration, through to the wire.
TEST_F(TlsTest, AServiceRequestIsMadeAsTheConfigurationSays) {
    constexpr char kVloxId[] = "someone";
    const auto config = ConfigManager::getInstance(kVloxId);
    const auto bridge = EncryptBridge::getInstance(kVloxId);
    config->setConfig(CONFIG_ENCRYPT_POLICY, 0);
    config->setConfig(CONFIG_SYM_ENCRYPT_TYPE, 0);
    config->setConfig(CONFIG_ENCRYPT_PUBKEY, "none");
    bridge->initial();
    const auto helper = HttpHelper::getInstance(UserInfo("app", kVloxId));
    using Texts = std::map<_ConfigKey, std::string>;
    const struct {
        const char* why;
        int policy;
        const char* port;
        Texts texts;
        bool accepted;
    } rows[] = {
        {"a file", 2, "good", {{CONFIG_CA_CERT_PATH, server.authorityFile()}}, true},
        {"a text", 2, "good", {{CONFIG_CA_CERT_CONTENT, authority}}, true},
        {"nothing", 2, "good", {}, false},
        {"nothing needed", 1, "expired", {}, true},
        {"a name that doesn't fit", 2, "wrongHost", {{CONFIG_CA_CERT_CONTENT, authority}}, false},
        {"a name that doesn't matter",
         2,
         "wrongHost",
         {{CONFIG_CA_CERT_CONTENT, authority}, {CONFIG_VERIFY_HOST, "0"}},
         true},
        {"a client's file",
         3,
         "clientCertificate",
         {{CONFIG_CA_CERT_CONTENT, authority},
          {CONFIG_CLIENT_CERT_PATH, server.clientFile()},
          {CONFIG_KEY_PASSWORD, server.clientKeyPassword()}},
         true},
        {"a client's text",
         3,
         "clientCertificate",
         {{CONFIG_CA_CERT_CONTENT, authority},
          {CONFIG_CLIENT_CERT_CONTENT, contentOf(server.clientFile())},
          {CONFIG_KEY_PASSWORD, server.clientKeyPassword()}},
         true},
        {"no password",
         3,
         "clientCertificate",
         {{CONFIG_CA_CERT_CONTENT, authority}, {CONFIG_CLIENT_CERT_PATH, server.clientFile()}},
         false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        for (const _ConfigKey key : {CONFIG_CA_CERT_PATH, CONFIG_CA_CERT_CONTENT, CONFIG_CLIENT_CERT_PATH,
                                     CONFIG_CLIENT_CERT_CONTENT, CONFIG_KEY_PASSWORD, CONFIG_VERIFY_HOST}) {
            const auto given = row.texts.find(key);
            config->setConfig(key, given != row.texts.end()    ? given->second
                                   : key == CONFIG_VERIFY_HOST ? std::string("1")
                                                               : std::string());
        }
        config->setConfig(CONFIG_WEB_REQUEST_MODE, row.policy);
        const std::string result = helper->doSyncHttpRequest(HTTP_METHOD_POST, HTTP_BUSINESS_AS,
                                                             server.httpsUrl(row.port, "/echo"), "{}");
        EXPECT_EQ(row.accepted, result.find("\"returnCode\":0}") != std::string::npos) << result;
        EXPECT_EQ(!row.accepted, result.find("\"returnCode\":-199}") != std::string::npos) << result;
        EXPECT_NE(std::string::npos,
                  helper->doSyncHttpRequest(HTTP_METHOD_POST, HTTP_BUSINESS_AS, server.url("/echo"), "{}")
                      .find("\"returnCode\":0}"))
            << "http needs none of it";
    }
}
