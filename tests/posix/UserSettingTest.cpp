// Where the settings of a user lie, and who may read them.
#include "platform/UserSetting.h"

#include <Poco/Environment.h>
#include <gtest/gtest.h>

#include "support/TempDir.h"

using namespace vloxlib::platform;

namespace {

class UserSettingTest : public testing::Test {
protected:
    void SetUp() override { Poco::Environment::set("XDG_CONFIG_HOME", dir.path("config")); }
    bool exists(const std::string& name) const { return std::filesystem::exists(dir.path(name)); }

    const vlox_test::TempDir dir;
};

}  // namespace

TEST_F(UserSettingTest, IsAFileForTheUserAlone) {
    claimUserSetting("name", "value", 64);
    EXPECT_EQ("value", dir.read("config/VLOX/name"));
    using std::filesystem::perms;
    EXPECT_EQ(perms::owner_read | perms::owner_write,
              std::filesystem::status(dir.path("config/VLOX/name")).permissions());
}

TEST_F(UserSettingTest, LiesInTheUsersFolderOrNowhere) {
    Poco::Environment::set("HOME", dir.path("home"));
    std::filesystem::create_directories(dir.path("config/VLOX/name"));
    claimUserSetting("name", "value", 64);
    EXPECT_EQ("", readUserSetting("name", 64)) << "a folder where the file should be";
    EXPECT_FALSE(exists("home")) << "nothing is written elsewhere";
    for (const char* unset : {"", "relative"}) {
        Poco::Environment::set("XDG_CONFIG_HOME", unset);
        claimUserSetting("name", "value", 64);
        EXPECT_TRUE(exists("home/.config/VLOX/name")) << "the default place";
        std::filesystem::remove_all(dir.path("home"));
    }
}
