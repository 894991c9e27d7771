// Folders and files with names in other scripts: what the library leaves has to lie where it was told to.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "support/RawHttpServer.h"
#include "support/TempDir.h"
#include "vloxlib/database/Sqlite3Functions.h"
#include "vloxlib/dnscache/DnsCacheManager.h"
#include "vloxlib/encrypt/Aes128CBCStrategy.h"
#include "vloxlib/encrypt/MD5.h"
#include "vloxlib/http/HttpClient.h"
#include "vloxlib/log/vloxLog.h"
#include "vloxlib/utility/FileUtil.h"

using namespace vloxlib;
using vlox_test::RawHttpServer;

namespace {

const std::string kFolder = u8"数据 für 😀";
const std::string kName = u8"文件 ø 🙂";

class ForeignNames : public testing::Test {
protected:
    ForeignNames() { std::filesystem::create_directory(std::filesystem::u8path(folder)); }

    std::string path(const std::string& name) const { return dir.path(kFolder + "/" + name); }
    // As the system lists it, and not as it was asked for.
    bool lists(const std::string& start, const std::string& end) const {
        for (const auto& entry : std::filesystem::directory_iterator(std::filesystem::u8path(folder))) {
            const std::string name = entry.path().filename().u8string();
            if (name.find(start) == 0 && name.size() >= end.size() &&
                name.compare(name.size() - end.size(), end.size(), end) == 0) {
                return true;
            }
        }
        return false;
    }

    const vlox_test::TempDir dir;
    const std::string folder = dir.path(kFolder);
};

}  // namespace

TEST_F(ForeignNames, OfAStore) {
    const auto store = [&] { return Sqlite3Functions::getSqliteInstance(folder.c_str(), kName.c_str()); };
    EXPECT_EQ(SQLITE_OK, store()->addTask("task", static_cast<TaskType>(16), QoS::qosRetryForever(),
                                          static_cast<TaskPriority>(1), "x"));
    EXPECT_TRUE(lists(kName, ".db"));
    Sqlite3Functions::releaseSqliteInstance(folder.c_str(), kName.c_str());
    auto status = static_cast<TaskStatus>(-1);
    EXPECT_EQ(SQLITE_OK, store()->getTaskStatus("task", status)) << "read back";
    Sqlite3Functions::releaseSqliteInstance(folder.c_str(), kName.c_str());
}

TEST_F(ForeignNames, OfALogAndItsCopies) {
    create_logger("foreign", path(kName + ".log").c_str(), false);
    VLOX_LOG(4, "written");
    EXPECT_TRUE(lists(kName + "_", ".log"));
    const std::string copies = path("copies");
    ASSERT_EQ(0, FileUtil::createDir(copies));
    std::vector<std::string> names;
    const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (names.empty() && std::chrono::steady_clock::now() < giveUp) {
        EXPECT_EQ(0, collect_sdk_log(copies.c_str(), 0, 1LL << 40));
        EXPECT_EQ(0, FileUtil::getFileNameInDirectory(copies, names));
    }
    ASSERT_EQ(1U, names.size());
    EXPECT_EQ(0U, names.front().find(kName + "_"));
    remove_histroy_log_files(0);
    create_logger("elsewhere", dir.path("elsewhere.log").c_str(), false);
}

TEST_F(ForeignNames, OfTheResolversCache) {
    {
        DnsCacheManager cache;
        EXPECT_TRUE(cache.init(folder));
    }
    EXPECT_TRUE(lists("vloxDomain", ".db"));
}

TEST_F(ForeignNames, OfFiles) {
    const std::string file = path(kName);
    ASSERT_EQ(0, FileUtil::writeFileContent(file, "plain"));
    EXPECT_TRUE(lists(kName, kName));
    EXPECT_EQ(5, FileUtil::getLocalFileLenth(file));
    EXPECT_EQ(MD5::md5("plain"), MD5::md5File(file));
    EXPECT_EQ(kName, FileUtil::extractFileName(file));

    Aes128CBCStrategy aes;
    const auto* const key = reinterpret_cast<const unsigned char*>("0123456789abcdef");
    EXPECT_TRUE(aes.encryptFile(key, 16, file, path(u8"密")));
    EXPECT_TRUE(aes.decryptFile(key, 16, path(u8"密"), path(u8"明")));
    std::string content;
    EXPECT_EQ(0, FileUtil::readFileContent(path(u8"明"), content));
    EXPECT_EQ("plain", content);
    EXPECT_EQ(0, FileUtil::rename(path(u8"明"), path(u8"新")));
    EXPECT_TRUE(FileUtil::copyFile(path(u8"新"), path(u8"本")));
    EXPECT_EQ(0, FileUtil::remove(path(u8"新")));
    std::vector<std::string> names;
    EXPECT_EQ(0, FileUtil::getFileNameInDirectory(folder, names));
    EXPECT_EQ((std::set<std::string>{kName, u8"密", u8"本"}),
              (std::set<std::string>{names.begin(), names.end()}));
}

TEST_F(ForeignNames, OfFilesThatTravel) {
    ASSERT_EQ(0, FileUtil::writeFileContent(path(kName), "there and back"));
    const RawHttpServer server(
        RawHttpServer::reply("200 OK", "Content-Type: application/octet-stream\r\n", "back"));
    auto qos = std::make_shared<QosParams>();
    qos->timeout = 30;
    long status = 0;
    HttpClient up;
    up.createPostRequest(server.url());
    ASSERT_EQ(0, up.setUploadFile("file", path(kName), -1, -1, 0));
    EXPECT_EQ(0, up.performSync(qos, &status));
    EXPECT_NE(std::string::npos, server.lastRequest().find("there and back"));

    HttpClient down;
    down.createGetRequest(server.url());
    ASSERT_EQ(0, down.setDownloadFile(path(u8"来"), 0, 0));
    EXPECT_EQ(0, down.performSync(qos, &status));
    std::string content;
    EXPECT_EQ(0, FileUtil::readFileContent(path(u8"来"), content));
    EXPECT_EQ("back", content);
}
