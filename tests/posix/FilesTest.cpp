// Files of this system: their rights, links of all kinds, and what can't be read.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "support/TempDir.h"
#include "vloxlib/database/Sqlite3Functions.h"
#include "vloxlib/dnscache/DnsCacheFile.h"
#include "vloxlib/encrypt/Aes128CBCStrategy.h"
#include "vloxlib/encrypt/MD5.h"
#include "vloxlib/utility/FileUtil.h"

namespace fs = std::filesystem;
using vloxlib::FileUtil;

TEST(FilesTest, WhatIsMadeIsItsUsersAloneAndWhatIsThereKeepsItsRights) {
    const vlox_test::TempDir dir;
    const auto rights = [&](const char* name) {
        struct stat status = {};
        return stat(dir.path(name).c_str(), &status) == 0 ? status.st_mode & 0777U : 0U;
    };
    umask(022);
    dir.write("there", "open to all");
    for (const char* name : {"there", "written"}) {
        EXPECT_EQ(0, FileUtil::writeFileContent(dir.path(name), "text"));
    }
    EXPECT_TRUE(FileUtil::copyFile(dir.path("there"), dir.path("copied")));
    std::FILE* const file = FileUtil::fopen(dir.path("opened"), "ab+");
    ASSERT_NE(nullptr, file);
    EXPECT_NE(0, fcntl(fileno(file), F_GETFD) & FD_CLOEXEC) << "no started program gets it";
    std::fclose(file);
    EXPECT_EQ(0, FileUtil::createDir(dir.path("folder")));
    EXPECT_TRUE(FileUtil::copyFile(dir.path("folder"), dir.path("other")));
    vloxlib::DnsCacheFile cache;
    EXPECT_TRUE(cache.open(dir.path("cache")));
    vloxlib::Sqlite3Functions::getSqliteInstance(dir.path().c_str(), "store");
    for (const char* name : {"written", "copied", "opened", "cache", "store.db", "store.db-wal"}) {
        EXPECT_EQ(0600U, rights(name)) << name;
    }
    EXPECT_EQ(0700U, rights("folder"));
    EXPECT_EQ(0700U, rights("other"));
    EXPECT_EQ(0644U, rights("there"));
    vloxlib::Sqlite3Functions::releaseSqliteInstance(dir.path().c_str(), "store");
}

// Opening the destination would empty the source, or make a folder grow as long as it is copied.
TEST(FilesTest, NothingIsWrittenOverItselfWhateverItsPath) {
    const vlox_test::TempDir dir;
    fs::create_directory(dir.path("folder"));
    const std::string file = dir.path("folder/file");
    dir.write("folder/file", "content");
    fs::create_symlink(file, dir.path("link"));
    fs::create_hard_link(file, dir.path("name"));
    vloxlib::Aes128CBCStrategy cipher;
    const auto* const key = reinterpret_cast<const unsigned char*>("0123456789abcdef");
    for (const char* same : {"folder/file", "folder", "folder/../folder/file", "link", "name"}) {
        EXPECT_TRUE(FileUtil::copyFile(file, dir.path(same))) << same;
        EXPECT_EQ("content", dir.read("folder/file")) << same;
    }
    EXPECT_FALSE(cipher.encryptFile(key, 16, file, dir.path("link")));
    EXPECT_FALSE(cipher.decryptFile(key, 16, file, dir.path("link")));
    EXPECT_EQ("content", dir.read("folder/file"));

    EXPECT_TRUE(FileUtil::copyFile(dir.path("folder"), dir.path())) << "the folder into where it is";
    for (const char* inside : {"folder", "folder/deeper", "folder/new/"}) {
        EXPECT_FALSE(FileUtil::copyFile(dir.path("folder"), dir.path(inside))) << inside;
    }
    EXPECT_EQ(1, std::distance(fs::directory_iterator(dir.path("folder")), fs::directory_iterator()));
    fs::create_symlink(dir.path(), dir.path("folder/up"));
    EXPECT_FALSE(FileUtil::copyFile(dir.path("folder"), dir.path("copy"))) << "a link leads back up";
}

TEST(FilesTest, WhatCannotBeReadHasNoContentAndNoDigest) {
    const vlox_test::TempDir dir;
    std::string content = "kept";
    EXPECT_EQ("", vloxlib::MD5::md5File("/proc/self/mem")) << "opens, and fails to be read";
    EXPECT_FALSE(FileUtil::copyFile("/proc/self/mem", dir.path("copy")));
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // which end the process instead
    dir.write("sparse", "");
    fs::resize_file(dir.path("sparse"), 1ULL << 43);
    EXPECT_EQ(-1, FileUtil::readFileContent(dir.path("sparse"), content)) << "no memory for it";
#endif
    EXPECT_EQ("kept", content);
    fs::create_symlink(dir.path("nowhere"), dir.path("dangling"));
    EXPECT_EQ(0, FileUtil::remove(dir.path("dangling")));
    EXPECT_FALSE(fs::is_symlink(dir.path("dangling")));
}
