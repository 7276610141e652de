#include "testing/StLocale.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <langinfo.h>

TEST(StLocale, IsTheOneOfTheChildOnly)
{
    StLocale const german("de_DE");
    if (!german.IsThere()) GTEST_SKIP() << "localedef or its sources are missing (package locales)";
    german.Run([] { EXPECT_STREQ(nl_langinfo(DAY_1), "Sonntag"); });
    EXPECT_STREQ(nl_langinfo(DAY_1), "Sunday");
}

TEST(StLocale, FailsTheTestWithTheChild)
{
    StLocale const plain("C");
    ASSERT_TRUE(plain.IsThere());
    EXPECT_NONFATAL_FAILURE(plain.Run([] { std::_Exit(3); }), "in the locale C");
}

TEST(StLocale, IsNotThereIfNobodyKnowsIt)
{
    EXPECT_FALSE(StLocale("xx_XX").IsThere());
}
