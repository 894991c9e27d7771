#include <gtest/gtest.h>

#include <random>

#include "crash/CrashRun.h"
#include "support/TempDir.h"

using vlox_test::CrashRun;
using vlox_test::TempDir;

TEST(Crash, LosesNothingThatWasAcknowledged) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    const TempDir dir;
    CrashRun run(dir.path(), seed);
    while (run.kills() < 40 && run.losses().empty()) {
        run.killOnce();
    }
    EXPECT_EQ(std::vector<std::string>(), run.losses());
    EXPECT_GT(run.operations(), 400) << "the program hardly got to work";
}

TEST(Crash, LeavesAnOldFileAsItWasOrWhollyRewritten) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    const TempDir unused;
    CrashRun run(unused.path(), seed);
    for (int i = 0; i < 10; ++i) {
        const TempDir dir;
        run.killMigration(dir.path());
    }
    EXPECT_EQ(std::vector<std::string>(), run.losses());
}
