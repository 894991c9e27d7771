#include <gtest/gtest.h>

#include <cstdlib>

#include "support/LogCapture.h"

// The child has the memory, but not the thread that would write its lines.
TEST(LogForkDeathTest, AForkedChildWritesItsOwnLines) {
    testing::FLAGS_gtest_death_test_style = "fast";
    const vlox_test::LogCapture log;
    VLOX_LOG(2, "the parent's");
    EXPECT_EXIT(
        {
            for (int i = 0; i < 3000; ++i) {
                VLOX_LOG(2, "the child's");
            }
            std::exit(0);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_EQ(3000, log.count("the child's"));
    EXPECT_EQ(1, log.count("the parent's"));
}
