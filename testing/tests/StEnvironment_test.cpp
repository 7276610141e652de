#include "testing/StEnvironment.h"

#include <gtest/gtest.h>

#include <cstdlib>

TEST(StEnvironment, PutsBackWhatWasThere)
{
    StEnvironment const outer("LOAM_TEST_VARIABLE", "outer");
    {
        StEnvironment const inner("LOAM_TEST_VARIABLE", "inner");
        EXPECT_STREQ(std::getenv("LOAM_TEST_VARIABLE"), "inner");
    }
    EXPECT_STREQ(std::getenv("LOAM_TEST_VARIABLE"), "outer");
}

TEST(StEnvironment, PutsBackThatThereWasNothing)
{
    unsetenv("LOAM_TEST_VARIABLE");
    {
        StEnvironment const set("LOAM_TEST_VARIABLE", "set");
        StEnvironment const unset("LOAM_TEST_VARIABLE", std::nullopt);
        EXPECT_EQ(std::getenv("LOAM_TEST_VARIABLE"), nullptr);
    }
    EXPECT_EQ(std::getenv("LOAM_TEST_VARIABLE"), nullptr);
}
