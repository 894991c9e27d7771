#include <gtest/gtest.h>

#include <filesystem>

#include "support/DevServer.h"
#include "support/TempDir.h"

namespace {

namespace fs = std::filesystem;

TEST(DevServerFiles, WhatHoldsAKeyIsForItsOwnerAlone) {
    const vlox_test::TempDir dir;
    ASSERT_EQ(0, vlox_test::runDevServer({"--tls", "--keys", dir.path(), "--stop-on-eof"}).exitCode);
    int secrets = 0;
    for (const auto& entry : fs::recursive_directory_iterator(dir.path())) {
        if (!entry.is_regular_file()) {
            continue;
        }
        const std::string name = fs::relative(entry.path(), dir.path()).generic_string();
        if (entry.path().extension() == ".key" || dir.read(name).find("PRIVATE KEY") != std::string::npos) {
            ++secrets;
            EXPECT_EQ(fs::perms::owner_read | fs::perms::owner_write, entry.status().permissions()) << name;
        }
    }
    EXPECT_EQ(10, secrets) << "two of the platform, two authorities, five servers, a client";
}

}  // namespace
