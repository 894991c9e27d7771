#include <gtest/gtest.h>

#include <random>

#include "crash/CacheCrash.h"
#include "crash/LogCrash.h"
#include "crash/StoreCrash.h"
#include "crash/StoreDuel.h"
#include "crash/TransferCrash.h"
#include "support/TempDir.h"

using vlox_test::CacheCrash;
using vlox_test::LogCrash;
using vlox_test::StoreCrash;
using vlox_test::StoreDuel;
using vlox_test::TempDir;
using vlox_test::TransferCrash;

namespace {

// Kills until there were enough, or something is lost.
template <typename Run>
void killOften(long kills, long operations) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    const TempDir dir;
    Run run(dir.path(), seed);
    while (run.kills() < kills && run.losses().empty()) {
        run.killOnce();
    }
    EXPECT_EQ(std::vector<std::string>(), run.losses());
    EXPECT_GT(run.operations(), operations) << "the program hardly got to work";
}

}  // namespace

TEST(Crash, LosesNothingThatWasStored) { killOften<StoreCrash>(40, 400); }

TEST(Crash, GivesAStoreToOneOfTwoThatOpenItAtOnce) { killOften<StoreDuel>(20, 9); }

TEST(Crash, LosesNoLineThatReachedTheLog) { killOften<LogCrash>(20, 100); }

TEST(Crash, LeavesTheResolversCacheWhole) { killOften<CacheCrash>(20, 100); }

TEST(Crash, MixesNoVersionsOfAFileAndLosesNoSlice) { killOften<TransferCrash>(20, 10); }

TEST(Crash, LeavesAnOldFileAsItWasOrWhollyRewritten) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    const TempDir unused;
    StoreCrash run(unused.path(), seed);
    for (int i = 0; i < 10; ++i) {
        const TempDir dir;
        run.killMigration(dir.path());
    }
    EXPECT_EQ(std::vector<std::string>(), run.losses());
}
