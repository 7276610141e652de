// The real platform of the system the tests run on, and the guard that swaps it.
#include "system/platform/CBasicDateTimePlatform.h"

#include "testing/ScriptedDateTimePlatform.h"
#include "testing/StEnvironment.h"
#include "testing/StLocale.h"
#include "testing/StTempDir.h"
#include "testing/StTimeZone.h"

#include <gtest/gtest.h>

#include <ctime>
#include <optional>
#include <string>

#include <limits.h>
#include <sys/time.h>

namespace {

std::optional<long long> Preference(char const* key)
{
    long long value = 12345;
    if (DateTimePlatform().GetIntegerPreference("org.loam.Test", key, value)) return value;
    EXPECT_EQ(value, 12345) << "touched, though there is no preference";
    return std::nullopt;
}

}  // namespace

TEST(CDateTimePlatform, IsSwappedForAScope)
{
    CBasicDateTimePlatform* const real = &DateTimePlatform();
    {
        ScriptedDateTimePlatform outer;
        StDateTimePlatform const inOuter(outer);
        EXPECT_EQ(&DateTimePlatform(), &outer);
        {
            ScriptedDateTimePlatform inner;
            StDateTimePlatform const inInner(inner);
            EXPECT_EQ(&DateTimePlatform(), &inner);
        }
        EXPECT_EQ(&DateTimePlatform(), &outer);
    }
    EXPECT_EQ(&DateTimePlatform(), real);
}

TEST(CDateTimePlatform, TellsTheSystemsTime)
{
    long const before = time(nullptr);
    long const now = DateTimePlatform().GetSeconds();
    long seconds = 0;
    long microSeconds = -1;
    DateTimePlatform().GetMicroSeconds(seconds, microSeconds);
    timeval after{};
    gettimeofday(&after, nullptr);

    // time() may trail gettimeofday() by a tick of the kernel.
    EXPECT_GE(now, before);
    EXPECT_LE(now, after.tv_sec);
    EXPECT_GE(seconds, before);
    EXPECT_LE(seconds, after.tv_sec);
    EXPECT_GE(microSeconds, 0);
    EXPECT_LT(microSeconds, 1000000);
}

TEST(CDateTimePlatform, HasAClockThatNeverGoesBack)
{
    long long former = DateTimePlatform().GetMonotonicMicroSeconds();
    for (int i = 0; i < 1000; ++i) {
        long long const present = DateTimePlatform().GetMonotonicMicroSeconds();
        EXPECT_GE(present, former);
        former = present;
    }
}

TEST(CDateTimePlatform, FollowsTheZone)
{
    struct
    {
        char const* mZone;
        long mMinutesWest;
    } const cases[] = {{"AAA-1", -60}, {"BBB5", 300}, {"IST-5:30", -330}, {"UTC0", 0}};

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mZone);
        // Not told to the C library by the test: the platform reads it afresh.
        StEnvironment const variable("TZ", c.mZone);
        EXPECT_EQ(DateTimePlatform().GetMinutesWest(), c.mMinutesWest);
    }
    tzset();
}

TEST(CDateTimePlatform, ReloadsTheZone)
{
    StTimeZone const former("UTC0");
    StEnvironment const variable("TZ", "AAA-1");
    DateTimePlatform().ReloadTimeZone();
    time_t const epoch = 0;
    tm fields{};
    localtime_r(&epoch, &fields);
    EXPECT_EQ(fields.tm_gmtoff, 3600);
}

TEST(CDateTimePlatform, ReadsIntegersFromThePreferences)
{
    StTempDir const folder;
    StEnvironment const config("XDG_CONFIG_HOME", folder.Path());
    folder.Write("org.loam.Test.conf",
                 "# a comment\n"
                 "[Other]\nElsewhere=1\n"
                 "[Preferences]\n"
                 "Positive=2\nNegative=-60\nZero=0\nSpaced =  7\n"
                 "Largest=9223372036854775807\nSmallest=-9223372036854775808\n"
                 "Text=two\nMixed=2 days\nFraction=2.5\nEmpty=\nTwice=1\nTwice=2\n");

    struct
    {
        char const* mKey;
        std::optional<long long> mValue;
    } const cases[] = {
        {"Positive", 2},
        {"Negative", -60},
        {"Zero", 0},
        {"Spaced", 7},
        {"Largest", LLONG_MAX},
        {"Smallest", LLONG_MIN},
        {"Twice", 2},
        {"Text", std::nullopt},
        {"Mixed", std::nullopt},
        {"Fraction", std::nullopt},
        {"Empty", std::nullopt},
        {"Elsewhere", std::nullopt},
        {"Nowhere", std::nullopt},
        {"", std::nullopt},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mKey);
        EXPECT_EQ(Preference(c.mKey), c.mValue);
    }
}

TEST(CDateTimePlatform, ReadsThePreferencesAfresh)
{
    StTempDir const folder;
    StEnvironment const config("XDG_CONFIG_HOME", folder.Path());
    folder.Write("org.loam.Test.conf", "[Preferences]\nKey=1\n");
    EXPECT_EQ(Preference("Key"), 1);
    folder.Write("org.loam.Test.conf", "[Preferences]\nKey=2\n");
    EXPECT_EQ(Preference("Key"), 2);
}

TEST(CDateTimePlatform, KeepsThePreferencesInTheUsersFolder)
{
    StTempDir const home;
    StTempDir const config;
    home.Write(".config/org.loam.Test.conf", "[Preferences]\nKey=1\n");
    config.Write("org.loam.Test.conf", "[Preferences]\nKey=2\n");

    struct
    {
        char const* mWhat;
        std::optional<std::string> mConfig;
        std::optional<std::string> mHome;
        std::optional<long long> mValue;
    } const cases[] = {
        {"the folder that is named", config.Path(), home.Path(), 2},
        {"no home", config.Path(), std::nullopt, 2},
        {"the folder at home", std::nullopt, home.Path(), 1},
        {"an empty name is none", "", home.Path(), 1},
        {"a relative name is none", "config", home.Path(), 1},
        {"a folder that isn't there", config.Path("none"), home.Path(), std::nullopt},
        {"no folder at all", std::nullopt, std::nullopt, std::nullopt},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        StEnvironment const configVariable("XDG_CONFIG_HOME", c.mConfig);
        StEnvironment const homeVariable("HOME", c.mHome);
        EXPECT_EQ(Preference("Key"), c.mValue);
    }
}

TEST(CDateTimePlatform, HasNoPreferencesInAFileThatIsBroken)
{
    StTempDir const folder;
    StEnvironment const config("XDG_CONFIG_HOME", folder.Path());

    struct
    {
        char const* mWhat;
        std::string mContent;
    } const cases[] = {
        {"an empty file", ""},
        {"no group", "Key=1\n"},
        {"a line that is nothing", "[Preferences]\nKey\n"},
        {"a group that doesn't end", "[Preferences\nKey=1\n"},
        {"zero bytes", std::string(4096, '\0')},
        {"not UTF-8", "[Preferences]\nKey=\xFF\n"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        folder.Write("org.loam.Test.conf", c.mContent);
        EXPECT_EQ(Preference("Key"), std::nullopt);
    }
}

TEST(CDateTimePlatform, HasNoPreferencesInAFolder)
{
    StTempDir const folder;
    StEnvironment const config("XDG_CONFIG_HOME", folder.Path());
    folder.MakeFolder("org.loam.Test.conf");
    EXPECT_EQ(Preference("Key"), std::nullopt);
}

TEST(CDateTimePlatform, BeginsTheWeekAsTheLocaleDoes)
{
    struct
    {
        char const* mLocale;
        int mFirstWeekday;
    } const cases[] = {{"C", 1}, {"en_US", 1}, {"de_DE", 2}, {"ar_EG", 7}};

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mLocale);
        StLocale const locale(c.mLocale);
        if (!locale.IsThere())
            GTEST_SKIP() << "localedef or its sources are missing (package locales)";
        locale.Run([&c] { EXPECT_EQ(DateTimePlatform().GetFirstWeekday(), c.mFirstWeekday); });
    }
}

TEST(CDateTimePlatform, BeginsTheWeekOnSundayInALocaleThatNobodyKnows)
{
    StEnvironment const locale("LC_ALL", "xx_XX.UTF-8");
    EXPECT_EQ(DateTimePlatform().GetFirstWeekday(), 1);
}
