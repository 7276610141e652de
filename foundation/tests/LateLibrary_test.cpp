#include "foundation/platform/linux/LateLibrary.h"

#include <gtest/gtest.h>

#include <cctype>

#include <fcntl.h>

// Declared, and defined nowhere.
extern "C" void loam_has_no_such_function();

namespace late {

inline constinit CLateLibrary library("libc.so.6");
LOAM_LATE_FUNCTION(to, upper);
LOAM_LATE_FUNCTION(, fcntl);
LOAM_LATE_FUNCTION(, loam_has_no_such_function);

}  // namespace late

namespace {

int Apply(int (*function)(int), int value)
{
    return function(value);
}

TEST(LateLibrary, CallsFunctionsOfTheLibrary)
{
    EXPECT_EQ(late::upper('a'), 'A');
    EXPECT_EQ(late::upper('b'), 'B') << "the function was found before";
    EXPECT_EQ(late::fcntl(-1, F_GETFD), -1) << "its arguments may be any number";
}

TEST(LateLibrary, HandsFunctionsOn)
{
    EXPECT_EQ(Apply(late::upper, 'c'), 'C');
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
