// The services of files of the stand-in platform, on the wire and as HttpClient's transfers meet them.
#include <Poco/Net/StreamSocket.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/DevServer.h"
#include "support/RawHttpServer.h"
#include "support/TempDir.h"
#include "vloxlib/encrypt/Base64.h"
#include "vloxlib/encrypt/MD5.h"
#include "vloxlib/http/HttpClient.h"

using namespace vloxlib;
using testing::HasSubstr;
using vlox_test::DevServer;
using vlox_test::RawHttpServer;
using vlox_test::TempDir;

namespace {

constexpr std::uint64_t kSixGibibytes = std::uint64_t{6} << 30;

// Bytes of which no two stretches are alike; lines end as those of a form do.
std::string bytes(std::size_t count) {
    std::string text;
    for (unsigned i = 0; text.size() < count; ++i) {
        text += std::to_string(i * 2654435761U) + std::string(1, static_cast<char>(i % 7)) + "\r\n--";
    }
    return text.substr(0, count);
}

struct Told {
    int code = -1;
    std::string desc;
    rapidjson::Document data;
    std::string text(const char* name) const { return data.HasMember(name) ? data[name].GetString() : ""; }
};

Told read(const std::string& body) {
    rapidjson::Document envelope;
    envelope.Parse(body.c_str());
    Told told;
    if (envelope.IsObject()) {
        told.code = std::stoi(envelope["code"].GetString());
        told.desc = envelope["desc"].GetString();
        told.data.Parse(
            Base64::decode(envelope.HasMember("data") ? envelope["data"].GetString() : "").c_str());
    }
    return told;
}

class FileServicesTest : public testing::Test {
protected:
    FileServicesTest() { restart(); }

    void restart(const std::vector<std::string>& more = {}) {
        m_server.reset();
        std::vector<std::string> arguments = {"--files", dir.path("store")};
        arguments.insert(arguments.end(), more.begin(), more.end());
        m_server = std::make_unique<DevServer>(arguments);
    }
    DevServer& server() { return *m_server; }

    static std::string part(const std::string& head, const std::string& body) {
        return "--bound\r\nContent-Disposition: form-data; " + head + "\r\n\r\n" + body + "\r\n";
    }
    static std::string form(const std::vector<std::pair<std::string, std::string>>& fields,
                            const std::string& file) {
        std::string text;
        for (const auto& [name, value] : fields) {
            text += part("name=\"" + name + "\"", value);
        }
        return text + part("name=\"file\"; filename=\"sent name\"", file) + "--bound--\r\n";
    }
    Told post(const std::string& path, const std::string& fields) {
        return read(server().ask("POST", path, fields).body);
    }
    Told postForm(const std::string& path, const std::string& body) {
        return read(
            server().ask("POST", path, body, {{"Content-Type", "multipart/form-data; boundary=bound"}}).body);
    }
    Told postChunk(const std::string& uuid, std::uint64_t left, std::uint64_t right,
                   const std::string& chunk) {
        return postForm("/file/chunk/upload", form({{"fileUUID", uuid},
                                                    {"chunkOffserL", std::to_string(left)},
                                                    {"chunkOffserR", std::to_string(right)}},
                                                   chunk));
    }
    std::string sent(const std::string& content) {
        return postForm("/file/upload", form({}, content)).text("fileUrl");
    }
    DevServer::Reply get(const std::string& id, const std::string& range = "", const std::string& rule = "") {
        return server().ask("GET", "/file/download" + rule + "?fileUrl=" + id, "",
                            range.empty() ? std::map<std::string, std::string>{}
                                          : std::map<std::string, std::string>{{"Range", range}});
    }
    /// Everything in the server's folder; files that it has taken in, drafts, chunks.
    std::vector<std::string> stored() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(dir.path("store"))) {
            if (entry.is_regular_file()) {
                names.push_back(entry.path().lexically_relative(dir.path("store")).generic_string());
            }
        }
        return names;
    }
    /// The server looks after a connection that has ended in its own time.
    bool becomesEmpty() const {
        const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!stored().empty() && std::chrono::steady_clock::now() < giveUp) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return stored().empty();
    }

    // A transfer by the library.
    int upload(const std::string& path, const std::string& file, int64 left = -1, int64 right = -1) {
        client = HttpClient();
        client.createPostRequest(server().url(path));
        for (const auto& [name, value] : formFields) {
            client.addParam(name, value);
        }
        EXPECT_EQ(0, client.setUploadFile("file", dir.path(file), -1, -1, 0));
        auto* const slice = static_cast<UploadFileParm*>(client.getFileParam());
        slice->m_left = left;  // where `long` has 32 bits, setUploadFile() can't take all offsets
        slice->m_right = right;
        return perform();
    }
    int download(const std::string& pathAndQuery, int mode = 0, int64 offset = 0) {
        return downloadFrom(server().url(pathAndQuery), mode, offset);
    }
    int downloadFrom(const std::string& url, int mode = 0, int64 offset = 0) {
        client = HttpClient();
        client.createGetRequest(url);
        client.addHeader("Range", "bytes=" + std::to_string(offset) + "-");
        EXPECT_EQ(0, client.setDownloadFile(dir.path("target"), mode, 0));
        return perform();
    }
    int perform() {
        client.setProgressCallback([this](int percent) {
            if (onPercent) {
                onPercent(percent);
            }
        });
        return client.performSync(nullptr, &status);
    }

    TempDir dir;
    HttpClient client;
    std::vector<std::pair<std::string, std::string>> formFields;
    std::function<void(int)> onPercent;
    long status = 0;

private:
    std::unique_ptr<DevServer> m_server;
};

}  // namespace

TEST_F(FileServicesTest, TakesWholeFilesAndGivesBackWhatRangesAskFor) {
    const std::string content = bytes(200000);
    const Told told = postForm("/vlox/file/upload", form({{"fileName", "a%20b"}}, content));
    EXPECT_EQ(0, told.code) << told.desc;
    EXPECT_EQ("a b", told.text("fileName")) << "values come escaped in a form of parts too";
    EXPECT_EQ(MD5::md5(content), told.text("digest"));
    const Told put = read(server().ask("PUT", "/file/upload?fileName=b", content).body);
    EXPECT_TRUE(content == get(put.text("fileUrl")).body);

    const std::string id = told.text("fileUrl");
    struct Row {
        const char* why;
        std::string range;
        std::string rule;
        int status;
        std::string contentRange;
        std::string body;
    };
    const Row rows[] = {
        {"none", "", "", 200, "", content},
        {"from the beginning", "bytes=0-", "", 206, "bytes 0-199999/200000", content},
        {"the rest", "bytes=199990-", "", 206, "bytes 199990-199999/200000", content.substr(199990)},
        {"the middle", "bytes=10-12", "", 206, "bytes 10-12/200000", content.substr(10, 3)},
        {"beyond the end", "bytes=199999-300000", "", 206, "bytes 199999-199999/200000",
         content.substr(199999)},
        {"the last bytes", "bytes=-2", "", 206, "bytes 199998-199999/200000", content.substr(199998)},
        {"more last bytes than there are", "bytes=-300000", "", 206, "bytes 0-199999/200000", content},
        {"nothing is left", "bytes=200000-", "", 416, "bytes */200000", ""},
        {"no range at all", "bytes=x-", "", 200, "", content},
        {"two ranges", "bytes=0-1,4-5", "", 200, "", content},
        {"backwards", "bytes=5-4", "", 200, "", content},
        {"ranges ignored", "bytes=199990-", "/@norange=1", 200, "", content},
        {"cut", "", "/@cut=7", 200, "", content.substr(0, 7)},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        const DevServer::Reply reply = get(id, row.range, row.rule);
        EXPECT_EQ(row.status, reply.status);
        EXPECT_EQ(row.contentRange,
                  reply.headers.count("Content-Range") ? reply.headers.at("Content-Range") : "");
        EXPECT_TRUE(row.body == reply.body) << reply.body.size() << " bytes";
    }
    const std::string tag = get(id).headers.at("ETag");
    const auto partOf = [&](const std::string& version) {
        return server().ask("GET", "/file/download?fileUrl=" + id, "",
                            {{"Range", "bytes=5-"}, {"If-Range", version}});
    };
    EXPECT_EQ(206, partOf(tag).status);
    EXPECT_EQ(200, partOf("\"other\"").status);
    const std::string flipped = get(id, "bytes=10-", "/@flip=12").body;
    EXPECT_EQ(content.substr(10, 2), flipped.substr(0, 2));
    EXPECT_NE(content[12], flipped[2]);
    EXPECT_TRUE(content.substr(13) == flipped.substr(3));
    EXPECT_EQ("", get(sent(""), "bytes=0-").body) << "an empty file has no range to give";
    EXPECT_EQ("application/json;charset=utf-8", get("unknown").headers.at("Content-Type"))
        << "which tells a client that no file comes";
}

TEST_F(FileServicesTest, MakesAFileOfChunksInAnyOrder) {
    const std::string content = bytes(30000);
    EXPECT_EQ(0, postChunk("u-1", 20000, 30000, content.substr(20000)).code);
    EXPECT_EQ(0, postChunk("u-1", 0, 10000, content.substr(0, 10000)).code);
    const std::string merge = "fileUUID=u-1&fileName=x&fileSize=30000&digest=";
    EXPECT_EQ(15002, post("/file/chunk/merge", merge).code) << "the middle is missing";
    EXPECT_EQ(10001, postChunk("u-1", 10000, 20000, "too short").code);
    EXPECT_EQ(10001, postChunk("u-1", 10000, 10003, "too long").code);
    restart();
    const Told there = post("/file/chunk/query", "fileUUID=u-1");
    ASSERT_EQ(2, there.data["chunkCount"].GetInt())
        << "chunks outlive the server, those that failed are none";
    EXPECT_EQ(20000, there.data["chunkInfoList"][1]["chunkOffserL"].GetInt());
    EXPECT_EQ(30000, there.data["chunkInfoList"][1]["chunkOffserR"].GetInt());
    EXPECT_EQ(MD5::md5(content.substr(20000)), there.data["chunkInfoList"][1]["digest"].GetString());

    EXPECT_EQ(0, postChunk("u-1", 10000, 20000, std::string(10000, 'x')).code);
    EXPECT_EQ(15003, post("/file/chunk/merge", merge + MD5::md5(content)).code);
    EXPECT_EQ(0, postChunk("u-1", 10000, 20000, content.substr(10000, 10000)).code) << "again, and better";
    const Told merged = post("/file/chunk/merge", merge + MD5::md5(content));
    EXPECT_EQ(0, merged.code) << merged.desc;
    EXPECT_TRUE(content == get(merged.text("fileUrl")).body);
    EXPECT_EQ(merged.text("fileUrl"), post("/file/chunk/merge", merge).text("fileUrl")) << "asked once more";
    EXPECT_EQ(merged.text("fileUrl"), post("/file/chunk/query", "fileUUID=u-1").text("fileUrl"));

    EXPECT_EQ(0, postChunk("u-2", 0, 1, "x").code);
    EXPECT_EQ(0, post("/file/chunk/delete", "fileUUID=u-2").code);
    EXPECT_EQ(0, post("/file/chunk/query", "fileUUID=u-2").data["chunkCount"].GetInt());
}

TEST_F(FileServicesTest, NamesFromOutsideStayInside) {
    dir.write("secret.json", R"({"name":"n","digest":"d"})");
    dir.write("secret", "secret");
    for (const std::string& name :
         {std::string("..%2Fsecret"), std::string("..%2F..%2Fsecret"), std::string("."), std::string(".."),
          dir.path("secret"), std::string("a%00b"), std::string("a%5Cb"), std::string(65, 'a'),
          std::string()}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(10001, read(get(name).body).code);
        EXPECT_EQ(10001, post("/file/chunk/query", "fileUUID=" + name).code);
        EXPECT_EQ(10001, post("/file/chunk/delete", "fileUUID=" + name).code);
        EXPECT_EQ(10001, post("/file/chunk/merge", "fileSize=1&fileUUID=" + name).code);
        EXPECT_EQ(10001, postChunk(name, 0, 1, "x").code);
    }
    EXPECT_EQ(0, postForm("/file/upload", form({{"fileName", "../../secret"}}, "x")).code);
    EXPECT_EQ("secret", dir.read("secret"));
    EXPECT_EQ(15001, read(get("unknown").body).code);
}

TEST_F(FileServicesTest, RefusesWhatIsNoUpload) {
    struct Row {
        const char* why;
        std::string body;
    };
    const Row rows[] = {
        {"no file", part("name=\"a\"", "1") + "--bound--\r\n"},
        {"goes on behind the file",
         part("name=\"file\"; filename=\"f\"", "x") + part("name=\"a\"", "1") + "--bound--\r\n"},
        {"ends in the middle", part("name=\"file\"; filename=\"f\"", "x")},
        {"a field twice", form({{"a", "1"}, {"a", "2"}}, "x")},
        {"a part without a name", "--bound\r\nContent-Type: text/plain\r\n\r\nx\r\n--bound--\r\n"},
        {"another digest than announced", form({{"digest", "00"}}, "x")},
        {"other parameters than the wire format's", form({{"params", "e30"}, {"zip", "1"}}, "x")},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        EXPECT_THAT(postForm("/file/upload", row.body).code, testing::AnyOf(10001, 15003));
    }
    EXPECT_EQ(10001, postForm("/file/chunk/upload", form({{"fileUUID", "u"}}, "x")).code);
    EXPECT_EQ(10001, postChunk("u", 5, 4, "x").code);
    EXPECT_TRUE(becomesEmpty()) << testing::PrintToString(stored());
}

TEST_F(FileServicesTest, AFileMayLookLikeABoundary) {
    const std::string boundary = "\r\n--bound";
    for (std::size_t length = 0; length < boundary.size(); ++length) {
        const std::string begin = boundary.substr(0, length);
        for (const std::string& content : {begin, "x" + begin, begin + begin, begin + "x", "\r" + begin}) {
            EXPECT_EQ(MD5::md5(content),
                      postForm("/file/upload/@discard=1", form({}, content)).text("digest"))
                << testing::PrintToString(content);
        }
    }
}

TEST_F(FileServicesTest, AnUploadThatBreaksOffLeavesNothing) {
    {
        Poco::Net::StreamSocket socket(
            Poco::Net::SocketAddress("127.0.0.1", static_cast<Poco::UInt16>(server().port())));
        const std::string begun =
            "PUT /file/upload HTTP/1.1\r\nHost: x\r\nContent-Length: 100000\r\n\r\n" + bytes(50000);
        socket.sendBytes(begun.data(), static_cast<int>(begun.size()));
    }
    server().awaitCount("plainRequests", 1);
    EXPECT_TRUE(becomesEmpty()) << testing::PrintToString(stored());
    dir.write("source", bytes(1 << 20));
    EXPECT_NE(0, upload("/file/upload/@hangup=100000", "source"));
    EXPECT_EQ(0, upload("/file/upload/@discard=1", "source"));
    EXPECT_TRUE(becomesEmpty()) << testing::PrintToString(stored());
}

TEST_F(FileServicesTest, EndsCleanlyDuringTransfers) {
    const std::string id = sent(bytes(100000));
    auto slow =
        std::async(std::launch::async, [&] { return download("/file/download/@rate=1000?fileUrl=" + id); });
    server().awaitCount("misbehaved", 1);
    EXPECT_EQ(0, server().stop());
    EXPECT_NE(0, slow.get());
}

TEST_F(FileServicesTest, AFailureInPlaceOfAFileIsTold) {
    EXPECT_EQ(15001, download("/file/download?fileUrl=unknown"));
    EXPECT_THAT(client.getResultData(), HasSubstr("no file has the id unknown"));
    EXPECT_FALSE(std::filesystem::exists(dir.path("target")));
    EXPECT_EQ(10005, download("/file/download/@code=10005?fileUrl=" + sent("x")));
}

TEST_F(FileServicesTest, CancelsAtTheEnd) {
    dir.write("source", bytes(100000));
    auto waiting =
        std::async(std::launch::async, [&] { return upload("/file/upload/@delay=600000", "source"); });
    server().awaitCount("misbehaved", 1);  // which is counted behind the file
    EXPECT_EQ(0, client.httpCancel());
    EXPECT_EQ(-109, waiting.get());

    const RawHttpServer almost([](Poco::Net::StreamSocket& socket, const std::string&) {
        RawHttpServer::send(socket, "HTTP/1.1 200 OK\r\nContent-Length: 200000\r\n\r\n" + bytes(199000));
        RawHttpServer::stall(socket);
    });
    onPercent = [this](int percent) {
        if (percent == 99) {
            client.httpCancel();
        }
    };
    EXPECT_EQ(-109, downloadFrom(almost.url()));
    EXPECT_LE(198000U, std::filesystem::file_size(dir.path("target")));
}

TEST_F(FileServicesTest, AServerThatGoesInTheMiddleLeavesWhatHasCome) {
    const std::string content = bytes(1 << 20);
    const std::string id = sent(content);
    onPercent = [this](int) { server().stop(); };
    EXPECT_GT(0, download("/file/download/@rate=1000000?fileUrl=" + id));
    const auto partial = std::filesystem::file_size(dir.path("target"));
    EXPECT_LT(0U, partial);
    EXPECT_GT(content.size(), partial);
    onPercent = nullptr;
    restart();
    EXPECT_EQ(0, download("/file/download?fileUrl=" + id, 1, static_cast<int64>(partial)));
    EXPECT_TRUE(content == dir.read("target"));

    dir.write("source", content);
    onPercent = [this](int) { server().stop(); };
    EXPECT_GT(0, upload("/file/upload/@rate=1000000", "source"));
    onPercent = nullptr;
    restart();
    EXPECT_EQ(2U, stored().size()) << "the file from above and its record";
}

TEST_F(FileServicesTest, OffsetsLieBeyondFourGibibytes) {
    const auto enlarge = [&](const std::string& name) {
        std::filesystem::resize_file(dir.path(name), kSixGibibytes);
        std::fstream(dir.path(name), std::ios::in | std::ios::out | std::ios::binary)
                .seekp(static_cast<std::streamoff>(kSixGibibytes - 3))
            << "far";
    };
    constexpr auto end = static_cast<int64>(kSixGibibytes);
    const std::string id = sent("x");
    enlarge("store/files/" + id);
    dir.write("target", "");
    std::filesystem::resize_file(dir.path("target"), kSixGibibytes - 3);
    EXPECT_EQ(0, download("/file/download?fileUrl=" + id, 1, end - 3));
    EXPECT_EQ(end - 3, client.getContentRange());
    EXPECT_EQ(kSixGibibytes, std::filesystem::file_size(dir.path("target")));
    std::string last(3, ' ');
    std::ifstream(dir.path("target"), std::ios::binary).seekg(-3, std::ios::end).read(last.data(), 3);
    EXPECT_EQ("far", last);

    dir.write("source", "");
    enlarge("source");
    formFields = {
        {"fileUUID", "u"}, {"chunkOffserL", std::to_string(end - 3)}, {"chunkOffserR", std::to_string(end)}};
    EXPECT_EQ(0, upload("/file/chunk/upload", "source", end - 3, end));
    EXPECT_EQ(0, read(client.getResultData()).code) << client.getResultData();
    const Told there = post("/file/chunk/query", "fileUUID=u");
    EXPECT_EQ(end, there.data["chunkInfoList"][0]["chunkOffserR"].GetInt64());
    EXPECT_EQ(MD5::md5("far"), there.data["chunkInfoList"][0]["digest"].GetString());
}
