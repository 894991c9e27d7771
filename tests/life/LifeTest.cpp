#include <gtest/gtest.h>

#include <random>

#include "life/LifeRun.h"
#include "support/TempDir.h"

TEST(Life, EndsWellHoweverAProgramEnds) {
    unsigned seed = std::random_device{}();
    for (int round = 0; round < 20; ++round) {
        const vlox_test::TempDir dir;
        ASSERT_EQ("", vlox_test::liveOnce(dir.path(), seed++, std::chrono::seconds(120)));
    }
}
