// What the library makes is its user's alone; what is there keeps its rights.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "support/TempDir.h"
#include "vloxlib/database/Sqlite3Functions.h"
#include "vloxlib/dnscache/DnsCacheFile.h"
#include "vloxlib/utility/FileUtil.h"

using vloxlib::FileUtil;

TEST(PrivateFilesTest, WhatIsMadeIsItsUsersAloneAndWhatIsThereKeepsItsRights) {
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
    std::FILE* const file = FileUtil::fopen(dir.path("opened"), "ab+");
    ASSERT_NE(nullptr, file);
    EXPECT_NE(0, fcntl(fileno(file), F_GETFD) & FD_CLOEXEC) << "no started program gets it";
    std::fclose(file);
    EXPECT_EQ(0, FileUtil::createDir(dir.path("folder")));
    vloxlib::DnsCacheFile cache;
    EXPECT_TRUE(cache.open(dir.path("cache")));
    vloxlib::Sqlite3Functions::getSqliteInstance(dir.path().c_str(), "store");
    for (const char* name : {"written", "opened", "cache", "store.db", "store.db-wal"}) {
        EXPECT_EQ(0600U, rights(name)) << name;
    }
    EXPECT_EQ(0700U, rights("folder"));
    EXPECT_EQ(0644U, rights("there"));
    vloxlib::Sqlite3Functions::releaseSqliteInstance(dir.path().c_str(), "store");
}
