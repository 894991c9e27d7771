#include "vloxlib/utility/FileUtil.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/LogCapture.h"
#include "support/TempDir.h"

using testing::ElementsAre;
using testing::UnorderedElementsAre;
using vlox_test::LogCapture;
using vlox_test::TempDir;
using vloxlib::FileUtil;

namespace fs = std::filesystem;

namespace {

class FileUtilTest : public testing::Test {
protected:
    std::string path(const std::string& name) const { return m_dir.path(name); }
    std::string made(const std::string& name, const std::string& content) const {
        m_dir.write(name, content);
        return path(name);
    }
    std::string read(const std::string& name) const { return m_dir.read(name); }

private:
    TempDir m_dir;
};

}  // namespace

TEST_F(FileUtilTest, EmptyPathsFailAndAreLogged) {
    const LogCapture log;
    std::string content = "kept";
    std::vector<std::string> names;
    EXPECT_EQ(-1, FileUtil::isExist(""));
    EXPECT_EQ(-1, FileUtil::createDir(""));
    EXPECT_EQ(-1, FileUtil::remove(""));
    EXPECT_EQ(-1, FileUtil::rename("", path("to")));
    EXPECT_EQ(-1, FileUtil::rename(made("from", ""), ""));
    EXPECT_EQ(-1, FileUtil::getLocalFileLenth(""));
    EXPECT_EQ(-1, FileUtil::getFileNameInDirectory("", names));
    EXPECT_EQ(-1, FileUtil::getFilePathInDirectory("", names));
    EXPECT_EQ(-1, FileUtil::readFileContent("", content));
    EXPECT_EQ(-1, FileUtil::writeFileContent("", content));
    EXPECT_EQ(10, log.count("W", "path is empty"));
    EXPECT_FALSE(FileUtil::copyFile("", "to"));
    EXPECT_FALSE(FileUtil::copyFile("from", ""));
    EXPECT_EQ(1, log.count("W", "sourPath=, destPath=to"));
    EXPECT_EQ(1, log.count("W", "sourPath=from, destPath="));
    EXPECT_EQ("", FileUtil::extractFileName(""));
    EXPECT_EQ(nullptr, FileUtil::fopen("", "r"));
    EXPECT_EQ("kept", content);
}

TEST_F(FileUtilTest, WhatIsMissingFailsExceptForItsRemoval) {
    const LogCapture log;
    const std::string missing = path("missing");
    std::string content = "kept";
    std::vector<std::string> names = {"kept"};
    EXPECT_EQ(-1, FileUtil::isExist(missing));
    EXPECT_EQ(0, FileUtil::remove(missing));
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(-1, FileUtil::rename(missing, path("to")));
    EXPECT_FALSE(FileUtil::copyFile(missing, path("to")));
    EXPECT_EQ(2, log.count("W", "sourPath=" + missing + ", file isn't exists"));
    EXPECT_EQ(-1, FileUtil::getFileNameInDirectory(missing, names));
    EXPECT_EQ(-1, FileUtil::getFilePathInDirectory(missing, names));
    EXPECT_EQ(2, log.count("W", "] path=" + missing + ", file isn't exists"));
    EXPECT_EQ(-1, FileUtil::getLocalFileLenth(missing));
    EXPECT_EQ(-1, FileUtil::readFileContent(missing, content));
    EXPECT_EQ("kept", content);
    EXPECT_THAT(names, ElementsAre("kept"));
}

TEST_F(FileUtilTest, ContentIsTakenByteByByteAndReplacedEntirely) {
    const std::string file = path("täglich.bin");
    const std::string bytes("a\0b\r\n\xff\0", 7);
    ASSERT_EQ(0, FileUtil::writeFileContent(file, std::string(100000, 'x')));
    ASSERT_EQ(0, FileUtil::writeFileContent(file, bytes));
    EXPECT_EQ(7, FileUtil::getLocalFileLenth(file));
    std::string content = "replaced";
    EXPECT_EQ(0, FileUtil::readFileContent(file, content));
    EXPECT_EQ(bytes, content);
    ASSERT_EQ(0, FileUtil::writeFileContent(file, ""));
    EXPECT_EQ(0, FileUtil::getLocalFileLenth(file));
    EXPECT_EQ(0, FileUtil::readFileContent(file, content));
    EXPECT_EQ("", content);
}

TEST_F(FileUtilTest, ReadingAndWritingWhereThereIsNoFileFails) {
    std::string content = "kept";
    EXPECT_EQ(-1, FileUtil::readFileContent(path(""), content)) << "a directory";
    EXPECT_EQ("kept", content);
    EXPECT_EQ(-1, FileUtil::writeFileContent(path("no/parent"), "text"));
    EXPECT_FALSE(fs::exists(path("no")));
}

// The disk's refusal shows when the bytes leave the process, for a small content only at the end.
TEST_F(FileUtilTest, AFullDiskIsAFailureHoweverSmallTheContent) {
    if (!fs::exists("/dev/full")) {
        GTEST_SKIP() << "no device that is always full";
    }
    const LogCapture log;
    EXPECT_EQ(-1, FileUtil::writeFileContent("/dev/full", "x"));
    EXPECT_EQ(-1, FileUtil::writeFileContent("/dev/full", std::string(1000000, 'x')));
    EXPECT_EQ(2, log.count("W", "failed. code = "));
}

TEST_F(FileUtilTest, DirectoriesAreMadeOneLevelAtATime) {
    const LogCapture log;
    EXPECT_EQ(0, FileUtil::createDir(path("one")));
    EXPECT_EQ(0, FileUtil::createDir(path("one"))) << "it is there already";
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(-1, FileUtil::createDir(path("two/levels")));
    EXPECT_EQ(-1, FileUtil::createDir(made("file", "in the way")));
    EXPECT_EQ(2, log.count("W", "failed. code = "));
    EXPECT_EQ("in the way", read("file"));
}

TEST_F(FileUtilTest, CopiesMovesAndRemovesFilesAndTrees) {
    ASSERT_EQ(0, FileUtil::createDir(path("tree")));
    made("tree/inner", "inner");
    EXPECT_TRUE(FileUtil::copyFile(path("tree/inner"), path("copy")));
    EXPECT_EQ("inner", read("copy"));
    EXPECT_TRUE(FileUtil::copyFile(path("copy"), path("tree"))) << "into a directory, under its own name";
    EXPECT_EQ("inner", read("tree/copy"));
    EXPECT_FALSE(FileUtil::copyFile(path("copy"), path("no/parent")));
    EXPECT_EQ(0, FileUtil::rename(path("tree"), path("moved")));
    EXPECT_EQ("inner", read("moved/inner"));
    EXPECT_EQ(-1, FileUtil::rename(path("moved"), path("no/parent")));
    EXPECT_EQ(0, FileUtil::remove(path("moved")));
    EXPECT_EQ(-1, FileUtil::isExist(path("moved")));
    EXPECT_EQ(0, FileUtil::isExist(path("copy")));
}

TEST_F(FileUtilTest, ListsADirectoryBehindWhatTheVectorHolds) {
    ASSERT_EQ(0, FileUtil::createDir(path("list")));
    ASSERT_EQ(0, FileUtil::createDir(path("list/sub")));
    made("list/file.txt", "");
    made("list/sub/deeper", "");
    std::vector<std::string> names = {"first"};
    EXPECT_EQ(0, FileUtil::getFileNameInDirectory(path("list"), names));
    ASSERT_EQ("first", names.at(0));
    EXPECT_THAT(names, UnorderedElementsAre("first", "sub", "file.txt"));
    std::vector<std::string> paths;
    EXPECT_EQ(0, FileUtil::getFilePathInDirectory(path("list"), paths));
    ASSERT_EQ(2U, paths.size());
    for (std::size_t i = 0; i < paths.size(); ++i) {
        EXPECT_EQ(0, FileUtil::isExist(paths[i]));
        EXPECT_EQ(names[i + 1], FileUtil::extractFileName(paths[i])) << "in the same order";
    }

    const LogCapture log;
    const std::string file = made("file", "");
    EXPECT_EQ(-1, FileUtil::getFilePathInDirectory(file, paths));
    EXPECT_EQ(1, log.count("W", "path=" + file + ", isn't a directory"));
}

TEST_F(FileUtilTest, TheLastElementIsTheFileName) {
    const char* const rows[][2] = {
        {"name", "name"}, {"/a/b.txt", "b.txt"}, {"a/b/", ""}, {"/", ""}, {"..", ".."}};
    for (const auto& row : rows) {
        EXPECT_EQ(row[1], FileUtil::extractFileName(row[0])) << row[0];
    }
}

TEST_F(FileUtilTest, OpensByUtf8PathAndRefusesANullMode) {
    const std::string file = made("öffnen", "text");
    EXPECT_EQ(nullptr, FileUtil::fopen(file, nullptr));
    EXPECT_EQ(nullptr, FileUtil::fopen(path("missing"), "rb"));
    std::FILE* opened = FileUtil::fopen(file, "rb");
    ASSERT_NE(nullptr, opened);
    EXPECT_EQ('t', std::fgetc(opened));
    std::fclose(opened);
}
