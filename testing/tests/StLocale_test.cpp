#include "testing/StLocale.h"

#include <gtest/gtest.h>

#include <clocale>

#include <langinfo.h>

TEST(StLocale, IsTheProcesssOwnForAScope)
{
    ASSERT_STREQ(nl_langinfo(DAY_1), "Sunday");
    {
        StLocale const german("de_DE");
        if (!german.IsThere())
            GTEST_SKIP() << "localedef or its sources are missing (package locales)";
        EXPECT_STREQ(nl_langinfo(DAY_1), "Sonntag");
    }
    EXPECT_STREQ(nl_langinfo(DAY_1), "Sunday");
}

TEST(StLocale, IsNotThereIfNobodyKnowsIt)
{
    StLocale const unknown("xx_XX");
    EXPECT_FALSE(unknown.IsThere());
    EXPECT_STREQ(nl_langinfo(DAY_1), "Sunday");
}
