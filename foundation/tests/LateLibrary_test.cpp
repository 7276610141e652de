#include "foundation/platform/linux/LateLibrary.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include <fcntl.h>

// Declared, and defined nowhere.
extern "C" void loam_has_no_such_function();

namespace late {

inline constinit CLateLibrary library("libc.so.6");
LOAM_LATE_FUNCTION(l, abs);
LOAM_LATE_FUNCTION(, fcntl);
LOAM_LATE_FUNCTION(, loam_has_no_such_function);

}  // namespace late

namespace {

int Apply(long (*function)(long), int value)
{
    return static_cast<int>(function(value));
}

TEST(LateLibrary, CallsFunctionsOfTheLibrary)
{
    EXPECT_EQ(late::abs(-5), 5);
    EXPECT_EQ(late::abs(-6), 6) << "the function was found before";
    EXPECT_EQ(late::fcntl(-1, F_GETFD), -1) << "its arguments may be any number";
}

TEST(LateLibrary, HandsFunctionsOn)
{
    EXPECT_EQ(Apply(late::abs, -7), 7);
}

TEST(LateLibrary, TellsWhetherTheLibraryIsThere)
{
    EXPECT_TRUE(late::library.IsThere());
    EXPECT_TRUE(late::library.IsThere());
    CLateLibrary nowhere("libloam-nowhere.so.1");
    EXPECT_FALSE(nowhere.IsThere());
    EXPECT_FALSE(nowhere.IsThere());
}

TEST(LateLibrary, EndsTheProcessForAFunctionThatIsNotThere)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(late::loam_has_no_such_function(), "libc.so.6: no loam_has_no_such_function");
    CLateLibrary nowhere("libloam-nowhere.so.1");
    EXPECT_DEATH(nowhere.Find("abs"), "libloam-nowhere.so.1: no abs");
}

}  // namespace
