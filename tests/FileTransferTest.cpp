#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/LogCapture.h"
#include "support/RawHttpServer.h"
#include "support/TempDir.h"
#include "vloxlib/http/FileExchange.h"
#include "vloxlib/http/HttpClient.h"
#include "vloxlib/http/TransferData.h"

using namespace vloxlib;
using testing::HasSubstr;
using vlox_test::LogCapture;
using vlox_test::RawHttpServer;
using vlox_test::TempDir;

namespace {

struct Part {
    std::string head;
    std::string body;
};

// The parts of a multipart body.
std::vector<Part> partsOf(const std::string& request) {
    const std::string body = RawHttpServer::bodyOf(request);
    const std::string line = body.substr(0, body.find("\r\n"));
    std::vector<Part> parts;
    for (std::size_t at = line.size() + 2;;) {
        const std::size_t end = body.find("\r\n" + line, at);
        if (line.empty() || end == std::string::npos) {
            return parts;
        }
        const std::size_t head = body.find("\r\n\r\n", at);
        parts.push_back({body.substr(at, head - at), body.substr(head + 4, end - head - 4)});
        at = end + 2 + line.size() + 2;
    }
}

// Bytes of which no two stretches are alike.
std::string bytes(std::size_t count) {
    std::string text;
    for (unsigned i = 0; text.size() < count; ++i) {
        text += std::to_string(i * 2654435761U) + std::string(1, static_cast<char>(i % 7));
    }
    return text.substr(0, count);
}

class FileTransferTest : public testing::Test {
protected:
    FileTransferTest() {
        client.setProgressCallback([this](int percent) {
            percents.push_back(percent);
            if (onPercent) {
                onPercent();
            }
        });
    }

    std::string source(const std::string& content) {
        dir.write("source", content);
        return dir.path("source");
    }
    int upload(const std::string& url, long left = -1, long right = -1, long alreadyRead = 0) {
        client.createPostRequest(url);
        EXPECT_EQ(0, client.setUploadFile("file", dir.path("source"), left, right, alreadyRead));
        return perform();
    }
    int download(const std::string& url, int mode = 0, long offset = 0) {
        client.createGetRequest(url);
        EXPECT_EQ(0, client.setDownloadFile(dir.path("target"), mode, offset));
        return perform();
    }
    int perform() {
        auto qos = std::make_shared<QosParams>();
        qos->timeout = 30;
        return client.performSync(qos, &status);
    }

    TempDir dir;
    HttpClient client;
    std::vector<int> percents;
    std::function<void()> onPercent;
    long status = 0;
};

std::string fileReply(const std::string& status, const std::string& headers, const std::string& body) {
    return RawHttpServer::reply(status, "Content-Type: application/octet-stream\r\n" + headers, body);
}

}  // namespace

TEST_F(FileTransferTest, UploadsExactlyTheSlice) {
    const std::string content = bytes(300000);
    source(content);
    const long size = static_cast<long>(content.size());
    struct Row {
        const char* why;
        long left;
        long right;
        long alreadyRead;
        std::string sent;
        const char* path = "/";
    };
    const Row rows[] = {
        {"whole", -1, -1, 0, content},
        {"half a slice is the whole", 5, -1, 0, content},
        {"the first", 0, 131072, 0, content.substr(0, 131072)},
        {"one byte", 65536, 65537, 0, content.substr(65536, 1)},
        {"the last", 262144, size, 0, content.substr(262144)},
        {"nothing", 7, 7, 0, ""},
        {"less than nothing", 7, 3, 0, ""},
        {"what is left of it", 7, 100007, 1000, content.substr(1007, 99000)},
        {"nothing is left of it", 7, 17, 11, ""},
        {"whole, again to where it is sent on", -1, -1, 0, content, "/moved"},
        {"a slice, again to where it is sent on", 7, 100007, 1000, content.substr(1007, 99000), "/moved"},
    };
    const RawHttpServer server([](Poco::Net::StreamSocket& socket, const std::string& request) {
        const bool moved = request.find(" /moved ") < request.find("\r\n");
        RawHttpServer::send(socket, moved ? RawHttpServer::reply("307 Elsewhere", "Location: /\r\n", "")
                                          : RawHttpServer::ok("done"));
    });
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        client = HttpClient();
        client.setProgressCallback([](int) {});
        EXPECT_EQ(0, upload(server.url(row.path), row.left, row.right, row.alreadyRead));
        EXPECT_EQ("done", client.getResultData());
        const std::vector<Part> parts = partsOf(server.lastRequest());
        ASSERT_EQ(1U, parts.size());
        EXPECT_TRUE(row.sent == parts[0].body) << parts[0].body.size() << " bytes";
        EXPECT_THAT(parts[0].head, HasSubstr(R"(form-data; name="file"; filename="source")"));
        EXPECT_THAT(parts[0].head, HasSubstr("Content-Type: application/octet-stream"));

        client = HttpClient();
        client.createPutRequest(server.url(row.path));
        client.setUploadFile("file", dir.path("source"), row.left, row.right, row.alreadyRead);
        EXPECT_EQ(0, perform());
        EXPECT_TRUE(row.sent == RawHttpServer::bodyOf(server.lastRequest())) << "by PUT";
        EXPECT_THAT(server.lastRequest(), testing::StartsWith("PUT / HTTP/1.1\r\n"));
    }
}

TEST_F(FileTransferTest, FieldsGoAheadOfTheFileAsTheyWereEscaped) {
    source("x");
    const RawHttpServer server(RawHttpServer::ok(""));
    client.addParam("b", "1 2");
    client.addParam("a", "plain");
    EXPECT_EQ(0, upload(server.url()));
    const std::vector<Part> parts = partsOf(server.lastRequest());
    ASSERT_EQ(3U, parts.size());
    EXPECT_EQ("plain", parts[0].body);
    EXPECT_EQ("1%202", parts[1].body);
    EXPECT_THAT(parts[1].head, HasSubstr("Content-Type: text/plain"));
    EXPECT_EQ("x", parts[2].body);
}

TEST_F(FileTransferTest, RefusesBadArguments) {
    const LogCapture log;
    const std::string path = source("x");
    EXPECT_EQ(-201, client.setUploadFile("", path, -1, -1, 0));
    EXPECT_EQ(-201, client.setUploadFile("file", "", -1, -1, 0));
    EXPECT_EQ(-201, client.setUploadFile("file", dir.path("missing"), -1, -1, 0));
    EXPECT_EQ(-201, client.setDownloadFile("", 0, 0));
    EXPECT_EQ(-1, client.httpCancel());
    EXPECT_FALSE(client.isFileOperate());
    EXPECT_EQ(2, log.count("W", "fileAbsolutePath="));
    EXPECT_EQ(1, log.count("W", "FILE is null"));
    EXPECT_EQ(1, log.count("W", "fileAbsoulutePath="));
}

TEST_F(FileTransferTest, ARecordOfTheOtherDirectionIsRefused) {
    const RawHttpServer server(RawHttpServer::ok("x"));
    client.createGetRequest(server.url());
    client.setUploadFile("file", source("precious"), -1, -1, 0);
    EXPECT_EQ(-201, perform());
    EXPECT_EQ("precious", dir.read("source"));
    client.createPostRequest(server.url());
    client.setUploadFile("file", dir.path("source"), -1, -1, 0);
    client.setDownloadFile(dir.path("target"), 0, 0);
    EXPECT_EQ(-201, perform()) << "set last, but the POST is still that of an upload";
    EXPECT_TRUE(server.requests().empty());
}

TEST_F(FileTransferTest, AFileThatVanishesIsNotSent) {
    source("x");
    const RawHttpServer server(RawHttpServer::ok(""));
    client.createPostRequest(server.url());
    client.setUploadFile("file", dir.path("source"), -1, -1, 0);
    std::filesystem::remove(dir.path("source"));
    EXPECT_EQ(-199, perform());
    EXPECT_TRUE(server.requests().empty());
}

TEST_F(FileTransferTest, Downloads) {
    struct Row {
        const char* why;
        std::string reply;
        int mode;
        int code;
        const char* file;  // null: there is none afterwards
        const char* data;
        long offset = 3;
    };
    const std::string json = "Content-Type: application/json;charset=utf-8\r\n";
    const Row rows[] = {
        {"anew", fileReply("200 OK", "", "new"), 0, 0, "new", ""},
        {"continued", fileReply("206 Partial Content", "Content-Range: bytes 3-5/6\r\n", "new"), 1, 0,
         "oldnew", ""},
        {"the range ignored", fileReply("200 OK", "", "whole"), 1, 0, "oldwhole", ""},
        {"empty", fileReply("200 OK", "", ""), 0, 0, "", ""},
        {"NULs", fileReply("200 OK", "", "a"), 0, 0, "a", ""},
        {"not there; the partial file stays", fileReply("404 Not Found", "", "gone"), 1, -199, "old", ""},
        {"a failure's JSON too", RawHttpServer::reply("503 Busy", json, "{}"), 1, -199, "old", ""},
        {"the range of an empty file", fileReply("416 No", "Content-Range: bytes */0\r\n", "no"), 0, 0, "",
         "", 0},
        {"the range of another one", fileReply("416 No", "Content-Range: bytes */3\r\n", "no"), 1, -199,
         "old", ""},
        {"a JSON failure", RawHttpServer::reply("200 OK", json, R"({"code":"15001"})"), 0, 15001, nullptr,
         R"({"code":"15001"})"},
        {"its code as a number", RawHttpServer::reply("200 OK", json, R"({"code":10005})"), 0, 10005, nullptr,
         R"({"code":10005})"},
        {"without a code", RawHttpServer::reply("200 OK", json, "{}"), 0, -199, nullptr, "{}"},
        {"behind a partial file it is no JSON any more", RawHttpServer::reply("200 OK", json, "{}"), 1, -199,
         nullptr, "old{}"},
        {"part of a JSON text", RawHttpServer::reply("206 Partial Content", json, "{}"), 0, -199, "{}", ""},
        {"other JSON is a file", RawHttpServer::reply("200 OK", "Content-Type: application/json\r\n", "{}"),
         0, 0, "{}", ""},
        {"a redirect that leads nowhere", fileReply("302 Found", "", R"({"code":7})"), 0, 7, nullptr,
         R"({"code":7})"},
        {"cut off", "HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nhalf", 0, -199, "half", ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        dir.write("target", "old");
        client = HttpClient();
        client.setProgressCallback([](int) {});
        const RawHttpServer server(row.reply);
        EXPECT_EQ(row.code, download(server.url(), row.mode, row.offset));
        const std::string range = "\r\nRange: bytes=" + std::to_string(row.offset) + "-\r\n";
        EXPECT_THAT(server.lastRequest(), HasSubstr(range));
        EXPECT_EQ(row.file != nullptr, std::filesystem::exists(dir.path("target")));
        EXPECT_EQ(row.file ? row.file : "", dir.read("target"));
        EXPECT_EQ(row.data, client.getResultData());
    }
}

TEST_F(FileTransferTest, APostDownloadsToo) {
    const RawHttpServer server(fileReply("200 OK", "", "new"));
    client.createPostRequest(server.url());
    client.addParam("fileId", "7");
    client.setDownloadFile(dir.path("target"), 0, 3);
    client.setDownloadFile(dir.path("target"), 0, 0);
    EXPECT_EQ(0, perform());
    EXPECT_EQ("fileId=7", RawHttpServer::bodyOf(server.lastRequest()));
    EXPECT_THAT(server.lastRequest(), HasSubstr("\r\nRange: bytes=0-\r\n")) << "what was set last";
    client.setUploadFile("file", source("x"), -1, -1, 0);
    EXPECT_TRUE(client.getHeader().empty());
    EXPECT_EQ("new", dir.read("target"));
}

TEST_F(FileTransferTest, ReportsWholePercentsOnce) {
    const std::string content = bytes(4 << 20);
    source(content);
    EXPECT_EQ(0, upload(RawHttpServer(RawHttpServer::ok("")).url()));
    ASSERT_FALSE(percents.empty());
    EXPECT_TRUE(std::is_sorted(percents.begin(), percents.end(), std::less_equal<>())) << "none twice";
    EXPECT_GE(percents.front(), 1);
    EXPECT_LE(percents.back(), 99);

    percents.clear();
    EXPECT_EQ(0, download(RawHttpServer(fileReply("200 OK", "", content)).url()));
    EXPECT_TRUE(content == dir.read("target"));
    ASSERT_FALSE(percents.empty());
    EXPECT_LE(percents.back(), 99);
}

TEST_F(FileTransferTest, AResumedDownloadReportsOverTheWholeFile) {
    const std::string rest = bytes(4 << 20);
    const RawHttpServer server(
        fileReply("206 Partial Content", "Content-Range: bytes 37748736-41943039/41943040\r\n", rest));
    std::vector<int64> starts;
    onPercent = [&] { starts.push_back(client.getContentRange()); };
    EXPECT_EQ(0, download(server.url(), 1, 37748736));
    ASSERT_FALSE(percents.empty());
    EXPECT_GE(percents.front(), 90);
    EXPECT_EQ(std::vector<int64>(percents.size(), 37748736), starts) << "told before the end, too";
}

TEST_F(FileTransferTest, AbsurdRangesDoNoHarm) {
    for (const char* start : {"9223372036854775807", "9223372036854775000", "92233720368547759"}) {
        client = HttpClient();
        client.setProgressCallback([](int percent) { EXPECT_LE(percent, 99); });
        const RawHttpServer server(fileReply(
            "206 Partial Content", std::string("Content-Range: bytes ") + start + "-1/1\r\n", bytes(100000)));
        EXPECT_EQ(0, download(server.url()));
    }
}

TEST_F(FileTransferTest, WithoutAProgressFunctionTheCallThrowsBehindLibcurl) {
    source(bytes(4 << 20));
    const RawHttpServer server(fileReply("200 OK", "", bytes(4 << 20)));
    client.setProgressCallback(nullptr);
    EXPECT_THROW(upload(server.url()), std::bad_function_call);
    EXPECT_EQ(nullptr, client.getFileParam()->m_file) << "closed";
    EXPECT_THROW(download(server.url()), std::bad_function_call);
    client.setProgressCallback([](int) { throw std::length_error("mine"); });
    EXPECT_THROW(download(server.url()), std::length_error);
    client.setProgressCallback([](int) {});
    EXPECT_EQ(0, download(server.url())) << "nothing is left of the exception";
}

TEST_F(FileTransferTest, CancelsAtTheStart) {
    const LogCapture log;
    source(bytes(100000));
    const RawHttpServer server(fileReply("200 OK", "", bytes(100000)));
    client.createPostRequest(server.url());
    client.setUploadFile("file", dir.path("source"), -1, -1, 0);
    EXPECT_EQ(0, client.httpCancel());
    EXPECT_EQ(-109, perform());
    client.createGetRequest(server.url());
    client.setDownloadFile(dir.path("target"), 0, 0);
    EXPECT_EQ(0, client.httpCancel());
    EXPECT_EQ(-109, perform());
    client.createPutRequest(server.url());
    client.setUploadFile("file", dir.path("source"), -1, -1, 0);
    EXPECT_EQ(0, client.httpCancel());
    EXPECT_EQ(-199, perform()) << "PUT tells libcurl's failure";
    EXPECT_GE(log.count("I", "canceld"), 3);
}

TEST_F(FileTransferTest, CancelsInTheMiddleFromAnotherThread) {
    source(bytes(4 << 20));
    const RawHttpServer server(fileReply("200 OK", "", bytes(4 << 20)));
    onPercent = [this] { std::thread([this] { EXPECT_EQ(0, client.httpCancel()); }).join(); };
    EXPECT_EQ(-109, upload(server.url()));
    EXPECT_EQ(0, status) << "that it may go on is no reply";
    EXPECT_EQ(1U, percents.size());
    percents.clear();
    EXPECT_EQ(-109, download(server.url()));
    EXPECT_LT(std::filesystem::file_size(dir.path("target")), std::size_t{4} << 20);
}

TEST_F(FileTransferTest, CancelsWhileTheServerThinksAboutTheBody) {
    source("x");
    const RawHttpServer server([this](auto& connection, const std::string&) {
        client.httpCancel();
        RawHttpServer::stall(connection);
    });
    client.createPutRequest(server.url());
    client.setUploadFile("file", dir.path("source"), -1, -1, 0);
    EXPECT_EQ(-199, perform()) << "PUT tells libcurl's failure";
    EXPECT_EQ(42, client.getOutcome().curlCode) << "it waited until the server gave up";
    EXPECT_EQ(-109, upload(server.url()));
}

TEST_F(FileTransferTest, ADiskThatCannotTakeTheFile) {
    for (const auto& [path, body] :
         std::vector<std::pair<std::string, std::string>>{{"/dev/full", "short"},
                                                          {dir.path(), "short"},
                                                          {dir.path(), ""},
                                                          {dir.path("no/such/dir"), ""}}) {
        SCOPED_TRACE(path);
        const RawHttpServer server(fileReply("200 OK", "", body));
        for (const bool careful : {false, true}) {
            client = HttpClient();
            client.setProgressCallback([](int) {});
            client.createGetRequest(server.url());
            careful ? client.setCarefulDownload(path) : client.setDownloadFile(path, 0, 0);
            EXPECT_EQ(-823, perform());
        }
    }
}

TEST_F(FileTransferTest, ASourceThatShrinksEndsWithACodeAndOneThatGrowsGoesAsItWas) {
    const std::string content = bytes(4 << 20);
    const RawHttpServer server(RawHttpServer::ok(""));
    source(content);
    onPercent = [this] { std::filesystem::resize_file(dir.path("source"), 1000); };
    EXPECT_EQ(-199, upload(server.url())) << "-828: it went on until its time limit";
    source(content);
    onPercent = [this] { std::ofstream(dir.path("source"), std::ios::app) << std::string(1 << 20, '+'); };
    EXPECT_EQ(0, upload(server.url()));
    EXPECT_TRUE(content == partsOf(server.lastRequest()).at(0).body);
}

TEST_F(FileTransferTest, ACarefulDownloadTouchesNothingForWhatIsNotTheFile) {
    struct Row {
        const char* why;
        std::string reply;
        int code;
        const char* file;
        const char* words = "";  // of the failure
        bool goesOn = false;     // next time, with what is there
        const char* version = R"(9 "tag")";
    };
    const auto part = [](const std::string& range, const std::string& body, const std::string& more = "") {
        return fileReply("206 Partial Content",
                         "ETag: \"tag\"\r\nContent-Range: bytes " + range + "\r\n" + more, body);
    };
    const auto chunked = [](const std::string& line, const std::string& headers) {
        return "HTTP/1.1 " + line + "\r\nConnection: close\r\nTransfer-Encoding: chunked\r\n" + headers +
               "\r\n3\r\nnew\r\n0\r\n\r\n";
    };
    const std::string json = "Content-Type: application/json;charset=utf-8\r\n";
    const std::string tag = "ETag: \"tag\"\r\n";
    const Row anew[] = {
        {"whole", fileReply("200 OK", tag, "new"), 0, "new"},
        {"whole, as a part", part("0-2/3", "new"), 0, "new"},
        {"empty", fileReply("200 OK", tag, ""), 0, ""},
        {"in chunks", chunked("200 OK", tag), 0, "new"},
        {"cut off", "HTTP/1.1 200 OK\r\n" + tag + "Content-Length: 9\r\n\r\nnew", -199, "new", "remaining",
         true},
        {"cut off, and nothing tells one version from another",
         "HTTP/1.1 200 OK\r\nETag: W/\"tag\"\r\nContent-Length: 9\r\n\r\nnew", -199, "new", "remaining"},
        {"without an end", "HTTP/1.1 200 OK\r\n" + tag + "\r\nnew", -199, "old", "the end of the reply"},
        {"its middle", part("3-5/6", "new"), -199, "old", "another part"},
        {"a part that isn't named", fileReply("206 Partial Content", tag, "new"), -199, "old",
         "another part"},
        {"not there", fileReply("404 Not Found", tag, "gone"), -199, "old"},
        {"a redirect that leads nowhere", fileReply("302 Found", "", R"({"code":7})"), 7, "old"},
        {"a JSON failure", RawHttpServer::reply("200 OK", json, R"({"code":"15001"})"), 15001, "old"},
        {"encoded", fileReply("200 OK", "Content-Encoding: gzip\r\n", "\x1f\x8b"), -199, "old", "encoding"},
    };
    const Row resumed[] = {
        {"the rest", part("3-8/9", "newnew"), 0, "oldnewnew"},
        {"the rest, cut off",
         "HTTP/1.1 206 Part\r\n" + tag + "Content-Range: bytes 3-8/9\r\nContent-Length: 6\r\n\r\nnew", -199,
         "oldnew", "remaining", true},
        {"less than the rest", part("3-5/9", "new"), -199, "oldnew", "end of the file", true},
        {"shorter than its range", chunked("206 Part", tag + "Content-Range: bytes 3-8/9\r\n"), -199,
         "oldnew", "end of the file", true},
        {"longer than its range", chunked("206 Part", tag + "Content-Range: bytes 3-4/9\r\n"), -199, "old",
         "longer"},
        {"shifted", part("4-8/9", "ewnew"), -199, "old", "another part"},
        {"of another length", part("3-5/6", "new"), -199, "old", "another file"},
        {"of another version", fileReply("206 P", "ETag: \"x\"\r\nContent-Range: bytes 3-8/9\r\n", "newnew"),
         -199, "old", "another file"},
        {"of no version", fileReply("206 P", "Content-Range: bytes 3-8/9\r\n", "newnew"), -199, "old",
         "another file"},
        {"whole", fileReply("200 OK", tag, "wholefile"), -199, "old", "sends no parts"},
        {"nothing is left", fileReply("416 No", "Content-Range: bytes */3\r\n", ""), 0, "old", "", false,
         R"(3 "tag")"},
        {"nothing is left, but too early", fileReply("416 No", "Content-Range: bytes */3\r\n", ""), -199,
         "old", "ahead of the part"},
        {"not now", fileReply("503 Busy", tag, "later"), -199, "old", "", true},
        {"a JSON failure", RawHttpServer::reply("200 OK", json, R"({"code":"15001"})"), 15001, "old", "",
         true},
    };
    const auto check = [&](const Row& row, bool resume) {
        SCOPED_TRACE(row.why);
        dir.write("target", "old");
        std::filesystem::remove(dir.path("target.version"));
        if (resume) {
            dir.write("target.version", row.version);
        }
        client = HttpClient();
        const RawHttpServer server(row.reply);
        client.createGetRequest(server.url());
        EXPECT_EQ(0, client.setCarefulDownload(dir.path("target")));
        EXPECT_EQ(row.code, perform());
        EXPECT_THAT(client.getOutcome().curlText, HasSubstr(row.words));
        EXPECT_EQ(resume, server.lastRequest().find("\r\nRange: bytes=3-\r\nIf-Range: \"tag\"\r\n") !=
                              std::string::npos);
        EXPECT_EQ(row.file, dir.read("target"));
        EXPECT_EQ(row.goesOn, std::filesystem::exists(dir.path("target.version")));
    };
    for (const Row& row : anew) {
        check(row, false);
    }
    for (const Row& row : resumed) {
        check(row, true);
    }
}

TEST_F(FileTransferTest, WhatStandsStillIsDropped) {
    const RawHttpServer server([](auto& socket, const std::string&) { RawHttpServer::stall(socket); });
    CurlExchange exchange(TlsSettings::of({}));
    exchange.prepare({30, 0});
    ExchangeRequest request;
    request.url = server.url();
    const auto expectTooSlow = [&](const FileResult& result) {
        EXPECT_EQ(-828, result.code);
        EXPECT_THAT(result.reply->outcome.curlText, HasSubstr("too slow"));
    };
    int last = 0;
    DownloadFileParm target;
    target.m_filePath = dir.path("target");
    expectTooSlow(downloadFile(exchange, request, target, {nullptr, last}, 1));
    UploadFileParm file;
    file.m_filePath = source("x");
    request.method = HTTP_METHOD_PUT;
    expectTooSlow(uploadFile(exchange, request, file, {nullptr, last}, 1));
}

TEST(FileParam, ACopyTakesTheCancelAlong) {
    DownloadFileParm original;
    original.m_filePath = "path";
    original.m_cancel = true;
    original.m_file = stdin;
    original.m_offset = 7;
    DownloadFileParm assigned;
    assigned = original;
    for (const DownloadFileParm& copy : {DownloadFileParm(original), assigned}) {
        EXPECT_EQ("path", copy.m_filePath);
        EXPECT_TRUE(copy.m_cancel);
        EXPECT_EQ(stdin, copy.m_file);
        EXPECT_EQ(7, copy.m_offset);
    }
}

TEST(TransferData, HoldsFiles) {
    const TempDir dir;
    {
        const ReceivedData file(dir.path("a").c_str(), DATA_TYPE_STRING);
        EXPECT_EQ(DATA_TYPE_FILE, file.getType());
        ASSERT_NE(nullptr, file.getData());
        std::fputs("text", static_cast<std::FILE*>(file.getData()));
    }
    EXPECT_EQ("text", dir.read("a"));
    HttpClient client;
    SendData sent(dir.path("a").c_str(), &client, DATA_TYPE_STRING);
    EXPECT_EQ('t', std::fgetc(static_cast<std::FILE*>(sent.getData())));
    EXPECT_EQ(&client, sent.getHttpClient());
    sent.clearData();
    EXPECT_EQ(nullptr, sent.getData());
    EXPECT_EQ(nullptr, ReceivedData(dir.path("no/such").c_str(), DATA_TYPE_FILE).getData());
}
