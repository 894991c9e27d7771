// The exchange and its file transfers against servers that nobody here wrote.
#include "support/RealServers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <optional>
#include <string>

#include "support/RawHttpServer.h"
#include "support/TempDir.h"
#include "vloxlib/http/HttpClient.h"

using namespace vloxlib;
using testing::HasSubstr;
using vlox_test::RawHttpServer;
using vlox_test::RealServers;
using vlox_test::TempDir;

namespace {

// Bytes of which no two stretches are alike.
std::string bytes(std::size_t count) {
    std::string text;
    for (unsigned i = 0; text.size() < count; ++i) {
        text += std::to_string(i * 2654435761U) + std::string(1, static_cast<char>(i % 7));
    }
    return text.substr(0, count);
}

class RealServersTest : public testing::Test {
protected:
    void SetUp() override {
        if (!RealServers::installed()) {
            GTEST_SKIP() << "nginx and haproxy aren't installed";
        }
        servers.emplace(origin.port());
    }

    HttpClient& fresh() {
        client = HttpClient();
        client.setSecurityPolicy(SECURITY_POLICY_SERVER_CA);
        client.setCAContent(servers->certificate());
        client.setProgressCallback([this](int) {
            if (onPercent) {
                onPercent();
            }
        });
        return client;
    }
    int perform() {
        auto qos = std::make_shared<QosParams>();
        qos->timeout = 30;
        status = 0;
        return client.performSync(qos, &status);
    }
    int upload(const std::string& url, const std::string& content, bool put = true) {
        dir.write("source", content);
        put ? fresh().createPutRequest(url) : fresh().createPostRequest(url);
        EXPECT_EQ(0, client.setUploadFile("file", dir.path("source"), -1, -1, 0));
        return perform();
    }
    int remove(const std::string& url) {
        fresh().createDeleteRequest(url);
        return perform();
    }
    int get(const std::string& url) {
        fresh().createGetRequest(url);
        return perform();
    }
    int download(const std::string& url) {
        fresh().createGetRequest(url);
        EXPECT_EQ(0, client.setCarefulDownload(dir.path("target")));
        return perform();
    }

    TempDir dir;
    std::function<std::string(const std::string&)> answer = [](const std::string&) {
        return RawHttpServer::ok("done");
    };
    const RawHttpServer origin{
        [this](auto& socket, const std::string& request) { RawHttpServer::send(socket, answer(request)); }};
    std::optional<RealServers> servers;
    HttpClient client;
    std::function<void()> onPercent;
    long status = 0;
};

}  // namespace

TEST_F(RealServersTest, ABodyComesWholeToWhereARedirectLeads) {
    const std::string content = bytes(600000);  // too little to ask first whether it is wanted
    struct Row {
        int code;
        bool put;   // the file arrives, otherwise the target is left alone
        bool form;  // likewise
        bool gone;  // by DELETE
    };
    for (const Row& row :
         {Row{301, true, false, true}, Row{302, true, false, true}, Row{303, false, false, false},
          Row{307, true, true, true}, Row{308, true, true, true}}) {
        const std::string path = "/" + std::to_string(row.code);
        SCOPED_TRACE(path);
        servers->write("target", "precious");
        upload(servers->url(path + "/target"), content);
        EXPECT_EQ(row.put ? 204 : 200, status);
        EXPECT_TRUE((row.put ? content : "precious") == servers->read("target"))
            << servers->read("target").size();

        EXPECT_EQ(0, upload(servers->url(path + "/origin/form"), content, false));
        const std::string arrived = origin.lastRequest();
        EXPECT_THAT(arrived.substr(0, 10), testing::StartsWith(row.form ? "POST /form" : "GET /form"));
        EXPECT_EQ(row.form, arrived.find("\r\n\r\n" + content + "\r\n--") != std::string::npos);

        servers->write("target", "precious");
        EXPECT_EQ(-199, remove(servers->url(path + "/target")));
        EXPECT_EQ(row.gone ? 204 : 303, status);
        EXPECT_EQ(row.gone ? "" : "precious", servers->read("target"));
    }
}

TEST_F(RealServersTest, WhereHttp2IsOfferedNothingStallsAndNothingIsSentTwice) {
    EXPECT_EQ(0, get(servers->httpsUrl("/protocol")));
    EXPECT_EQ("HTTP/1.1", client.getResultData());

    answer = [](const std::string&) {
        return RawHttpServer::reply("200 OK", "Big: " + std::string(60000, 'b') + "\r\n", "body");
    };
    EXPECT_EQ(0, get(servers->httpsUrl("/origin/big")));
    EXPECT_EQ(60000U, client.getResultHeaderByKey("Big").size());

    EXPECT_EQ(-199, upload(servers->httpsUrl("/small/file"), bytes(100000)));
    EXPECT_EQ(413, status);

    const std::size_t before = origin.requests().size();
    answer = [](const std::string&) { return ""; };
    fresh().createPostRequest(servers->haproxyUrl("/once"));
    client.addParam("a", "1");
    EXPECT_EQ(-199, perform());
    EXPECT_EQ(before + 1, origin.requests().size());
}

TEST_F(RealServersTest, AnEncodingThatNobodyAskedForIsNoContent) {
    servers->write("packed/file.gz", std::string("\x1f\x8b\0\0", 4));
    EXPECT_EQ(-199, get(servers->url("/packed/file")));
    EXPECT_EQ("", client.getResultData());
    dir.write("target", "old");
    EXPECT_EQ(-199, download(servers->url("/packed/file")));
    EXPECT_EQ("old", dir.read("target"));
}

TEST_F(RealServersTest, ADownloadGoesOnWithTheSameFileOnly) {
    const std::string content = bytes(1 << 20);
    for (const bool changed : {false, true}) {
        SCOPED_TRACE(changed ? "changed" : "unchanged");
        servers->write("slow/file", content);
        onPercent = [this] { servers->stopNginx(); };
        EXPECT_EQ(-199, download(servers->url("/slow/file")));
        onPercent = nullptr;
        const std::string part = dir.read("target");
        ASSERT_TRUE(!part.empty() && part.size() < content.size() && content.rfind(part, 0) == 0);
        if (changed) {
            servers->write("slow/file", "x" + content);
        }
        servers->startNginx();
        EXPECT_EQ(changed ? -199 : 0, download(servers->url("/slow/file")));
        EXPECT_EQ(changed ? 200 : 206, status);
        EXPECT_TRUE((changed ? part : content) == dir.read("target"));
    }
    EXPECT_EQ(0, download(servers->url("/slow/file"))) << "anew, as nothing fits what is there";
    EXPECT_TRUE("x" + content == dir.read("target"));
    servers->write("empty", "");
    EXPECT_EQ(0, download(servers->url("/empty")));
    EXPECT_EQ("", dir.read("target"));
}
