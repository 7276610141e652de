#include "system/CDateTimeServicesImp.h"

#include "testing/ScriptedDateTimePlatform.h"
#include "testing/StEnvironment.h"
#include "testing/StLocale.h"
#include "testing/StTempDir.h"
#include "testing/StTimeZone.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <barrier>
#include <climits>
#include <clocale>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <string>
#include <thread>
#include <vector>

namespace {

using testing::Contains;
using testing::Not;

constexpr long kJanuary2026 = 1767225600;  // 2026-01-01 00:00:00 UTC, a Thursday
constexpr long kMarch2026 = 1772323200;    // 2026-03-01 00:00:00 UTC, a Sunday
constexpr long kJuly2026 = 1782864000;     // 2026-07-01 00:00:00 UTC
constexpr char kCentralEurope[] = "CET-1CEST,M3.5.0,M10.5.0/3";
constexpr char kDomain[] = "org.loam.Loam";
constexpr char kDays[] = "DebugTimeOffsetDays";
constexpr char kSeconds[] = "DebugTimeOffsetSeconds";

// The clock under a script, with nothing read yet.
class CDateTimeServicesImpTest : public testing::Test
{
protected:
    long Now() const
    {
        long time = 0;
        mServices.GetCurrentTime(&time, nullptr);
        return time;
    }

    long long NowInMicroSeconds() const
    {
        long long microSeconds = 0;
        mServices.GetCurrentMicroSeconds(&microSeconds, nullptr);
        return microSeconds;
    }

    ScriptedDateTimePlatform mPlatform;
    StDateTimePlatform const mInPlace{mPlatform};
    CDateTimeServicesImp const mServices;
};

// Draws numbers in many threads at once and compares them with those of the clock's seed. Ends the
// process.
[[noreturn]] void DrawNumbersAndExit()
{
    constexpr std::size_t kThreads = 8;
    constexpr unsigned int kSeed = 1767225600;
    ScriptedDateTimePlatform platform;
    platform.mSeconds = kSeed;
    platform.mPreferences[{kDomain, kDays}] = 2;
    StDateTimePlatform const inPlace(platform);
    CDateTimeServicesImp const services;

    std::vector<int> drawn(kThreads);
    std::barrier start(kThreads);
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int& number : drawn) {
        threads.emplace_back([&] {
            start.arrive_and_wait();
            number = services.MakeUniqueRand();
        });
    }
    for (std::thread& thread : threads)
        thread.join();

    // Whatever the order, they are the first numbers of the seed, which is taken once and without
    // the debugging offset.
    std::vector<int> expected(kThreads);
    srand(kSeed);
    for (int& number : expected)
        number = rand();
    std::sort(drawn.begin(), drawn.end());
    std::sort(expected.begin(), expected.end());
    bool const isOnce = platform.Calls() == std::vector<std::string>{"GetSeconds()"};
    std::_Exit(drawn == expected && isOnce ? 0 : 1);
}

}  // namespace

TEST_F(CDateTimeServicesImpTest, IsTheSystemsTimeWithoutPreferences)
{
    mPlatform.mSeconds = kJanuary2026;
    mPlatform.mMicroSeconds = 654321;
    EXPECT_EQ(Now(), kJanuary2026);
    EXPECT_EQ(NowInMicroSeconds(), kJanuary2026 * 1000000LL + 654321);
}

TEST_F(CDateTimeServicesImpTest, IsMovedByTheDebuggingOffset)
{
    mPlatform.mSeconds = kJanuary2026;
    mPlatform.mMonotonicMicroSeconds = 77;

    struct
    {
        char const* mWhat;
        std::vector<std::pair<char const*, long long>> mPreferences;
        long long mOffset;
    } const cases[] = {
        {"neither", {}, 0},
        {"days", {{kDays, 2}}, 172800},
        {"seconds", {{kSeconds, -60}}, -60},
        {"both", {{kDays, 2}, {kSeconds, -60}}, 172740},
        {"both cancel", {{kDays, 1}, {kSeconds, -86400}}, 0},
        {"backwards", {{kDays, -365}}, -31536000},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        mPlatform.mPreferences.clear();
        for (auto const& [key, value] : c.mPreferences)
            mPlatform.mPreferences[{kDomain, key}] = value;
        CDateTimeServicesImp::ForgetDebugTimeOffset();
        EXPECT_EQ(CDateTimeServicesImp::GetDebugTimeOffsetSeconds(), c.mOffset);
        EXPECT_EQ(Now(), kJanuary2026 + c.mOffset);
        EXPECT_EQ(NowInMicroSeconds(), (kJanuary2026 + c.mOffset) * 1000000LL);
        EXPECT_EQ(mServices.GetMonotonicMicroSeconds(), 77);
    }
}

TEST_F(CDateTimeServicesImpTest, ReadsTheOffsetOnce)
{
    mPlatform.mPreferences[{kDomain, kDays}] = 2;
    EXPECT_EQ(Now(), 172800);
    mPlatform.mPreferences[{kDomain, kDays}] = 3;
    mPlatform.mPreferences[{kDomain, kSeconds}] = 5;
    EXPECT_EQ(Now(), 172800);
    EXPECT_EQ(NowInMicroSeconds(), 172800LL * 1000000);
    auto const calls = mPlatform.Calls();
    EXPECT_EQ(std::count(calls.begin(), calls.end(),
                         "GetIntegerPreference(org.loam.Loam, DebugTimeOffsetDays)"),
              1);
    EXPECT_EQ(std::count(calls.begin(), calls.end(),
                         "GetIntegerPreference(org.loam.Loam, DebugTimeOffsetSeconds)"),
              1);
}

TEST_F(CDateTimeServicesImpTest, KeepsReadingASumOfMinusOneAfresh)
{
    mPlatform.mPreferences[{kDomain, kSeconds}] = -1;
    EXPECT_EQ(CDateTimeServicesImp::GetDebugTimeOffsetSeconds(), -1);
    mPlatform.mPreferences[{kDomain, kSeconds}] = 40;
    EXPECT_EQ(CDateTimeServicesImp::GetDebugTimeOffsetSeconds(), 40);
    mPlatform.mPreferences[{kDomain, kSeconds}] = 50;
    EXPECT_EQ(CDateTimeServicesImp::GetDebugTimeOffsetSeconds(), 40);
}

TEST_F(CDateTimeServicesImpTest, WrapsAnOffsetThatIsTooLarge)
{
    mPlatform.mPreferences[{kDomain, kDays}] = LLONG_MAX;
    mPlatform.mPreferences[{kDomain, kSeconds}] = LLONG_MIN;
    mPlatform.mSeconds = LONG_MAX;
    auto const expected =
        static_cast<long long>(static_cast<unsigned long long>(LLONG_MAX) * 86400 +
                               static_cast<unsigned long long>(LLONG_MIN));
    EXPECT_EQ(CDateTimeServicesImp::GetDebugTimeOffsetSeconds(), expected);
    EXPECT_EQ(static_cast<unsigned long>(Now()),
              static_cast<unsigned long>(LONG_MAX) + static_cast<unsigned long>(expected));
    NowInMicroSeconds();
    long timeZone = 0;
    mServices.GetTimeZone(&timeZone);
}

TEST_F(CDateTimeServicesImpTest, NeverShowsHalfOfTheOffset)
{
    constexpr int kThreads = 4;
    mPlatform.mPreferences[{kDomain, kDays}] = 2;
    mPlatform.mPreferences[{kDomain, kSeconds}] = -60;
    // All threads are within the reading of the first key, and then of the second, at the same
    // time.
    std::barrier meeting(kThreads);
    mPlatform.mDuringPreference = [&meeting] { meeting.arrive_and_wait(); };

    std::atomic<int> right = 0;
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&right] {
            if (CDateTimeServicesImp::GetDebugTimeOffsetSeconds() == 172740) ++right;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(right, kThreads);
}

TEST_F(CDateTimeServicesImpTest, TakesNullForWhatIsNotWanted)
{
    mPlatform.mSeconds = 5;
    mServices.GetCurrentTime(nullptr, nullptr);
    EXPECT_THAT(mPlatform.Calls(), Not(Contains("ReloadTimeZone()")));
    mServices.GetCurrentMicroSeconds(nullptr, nullptr);
    EXPECT_THAT(mPlatform.Calls(), Not(Contains("GetMinutesWest()")));
    mServices.GetTimeZone(nullptr);
    EXPECT_THAT(mPlatform.Calls(), Contains("ReloadTimeZone()"));
    mServices.GetLongDateString(0, nullptr);
    mServices.GetShortDateString(0, nullptr);
    mServices.GetAbreviateDateString(0, nullptr);
    mServices.GetTimeString(0, nullptr);
    mServices.StringToUnicode("text", nullptr);
}

TEST_F(CDateTimeServicesImpTest, AsksForTheZoneOfASecondOnceWhileNothingChanges)
{
    StTimeZone const zone(kCentralEurope);
    mPlatform.mMayZoneChange = false;
    long timeZone = 0;
    for (long const second : {0L, -1L, kJanuary2026, kJuly2026, kJanuary2026 + (1L << 46)}) {
        SCOPED_TRACE(second);
        mPlatform.mSeconds = second;
        tm fields{};
        localtime_r(&second, &fields);
        for (int call = 0; call < 2; ++call) {
            mServices.GetTimeZone(&timeZone);
            EXPECT_EQ(timeZone, fields.tm_gmtoff);
        }
    }

    // Another zone is seen when the platform tells of it, in the same second.
    StTimeZone const other("AAA-24:59:59");
    mPlatform.mMayZoneChange = true;
    mServices.GetTimeZone(&timeZone);
    EXPECT_EQ(timeZone, 89999);
    StTimeZone const west("BBB24:59:59");
    mServices.GetTimeZone(&timeZone);
    EXPECT_EQ(timeZone, -89999);
    mPlatform.mMayZoneChange = false;
    mServices.GetTimeZone(&timeZone);
    EXPECT_EQ(timeZone, -89999);
}

TEST_F(CDateTimeServicesImpTest, GivesTheZoneEastwardsWithDaylightSaving)
{
    StTimeZone const zone(kCentralEurope);

    struct
    {
        char const* mWhat;
        long mSeconds;
        long long mOffset;
        long mTimeZone;
    } const cases[] = {
        {"winter", kJanuary2026, 0, 3600},
        {"summer", kJuly2026, 0, 7200},
        {"moved into summer", kJanuary2026, 181, 7200},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        mPlatform.mSeconds = c.mSeconds;
        mPlatform.mPreferences[{kDomain, kDays}] = c.mOffset;
        CDateTimeServicesImp::ForgetDebugTimeOffset();
        long timeZone = 0;
        mServices.GetTimeZone(&timeZone);
        EXPECT_EQ(timeZone, c.mTimeZone);
        long time = 0;
        timeZone = 0;
        mServices.GetCurrentTime(&time, &timeZone);
        EXPECT_EQ(timeZone, c.mTimeZone);
        EXPECT_EQ(time, c.mSeconds + c.mOffset * 86400);
    }
}

TEST_F(CDateTimeServicesImpTest, SeesAChangeOfTheZoneAtOnce)
{
    StTimeZone const former("UTC0");
    long timeZone = -1;
    mServices.GetTimeZone(&timeZone);
    EXPECT_EQ(timeZone, 0);
    StEnvironment const later("TZ", "BBB+2:30");
    mServices.GetTimeZone(&timeZone);
    EXPECT_EQ(timeZone, -9000);
}

TEST_F(CDateTimeServicesImpTest, KeepsTheZoneOfMicroSecondsWestwards)
{
    mPlatform.mMinutesWest = -60;
    long timeZone = 0;
    mServices.GetCurrentMicroSeconds(nullptr, &timeZone);
    EXPECT_EQ(timeZone, -3600);
    mPlatform.mMinutesWest = 480;
    mServices.GetCurrentMicroSeconds(nullptr, &timeZone);
    EXPECT_EQ(timeZone, 28800);
}

TEST(CDateTimeServicesImp, HasTwoZonesOfOppositeSigns)
{
    StTimeZone const zone("AAA-1");
    CDateTimeServicesImp const services;
    long eastwards = 0;
    long westwards = 0;
    services.GetTimeZone(&eastwards);
    services.GetCurrentMicroSeconds(nullptr, &westwards);
    EXPECT_EQ(eastwards, 3600);
    EXPECT_EQ(westwards, -3600);
}

TEST(CDateTimeServicesImp, ReadsTheOffsetFromTheUsersPreferences)
{
    StTempDir const folder;
    StEnvironment const config("XDG_CONFIG_HOME", folder.Path());
    folder.Write("org.loam.Loam.conf",
                 "[Preferences]\nDebugTimeOffsetDays=2\nDebugTimeOffsetSeconds=-60\n");
    CDateTimeServicesImp::ForgetDebugTimeOffset();
    EXPECT_EQ(CDateTimeServicesImp::GetDebugTimeOffsetSeconds(), 172740);
    folder.Write("org.loam.Loam.conf", "[Preferences]\nDebugTimeOffsetDays=3\n");
    EXPECT_EQ(CDateTimeServicesImp::GetDebugTimeOffsetSeconds(), 172740);
    CDateTimeServicesImp::ForgetDebugTimeOffset();
}

TEST_F(CDateTimeServicesImpTest, ConvertsTimesToThemselves)
{
    for (long const time : {0L, 1L, -1L, kJanuary2026, LONG_MAX, LONG_MIN}) {
        SCOPED_TRACE(time);
        EXPECT_EQ(mServices.ConvertInternalTimeToStd(time), time);
        EXPECT_EQ(mServices.ConvertStdTimeToInternal(time), time);
        EXPECT_EQ(mServices.ConvertTimeToPlatform(time), static_cast<unsigned long>(time));
        EXPECT_EQ(mServices.ConvertTimeFromPlatform(static_cast<unsigned long>(time)), time);
    }
}

TEST_F(CDateTimeServicesImpTest, CountsTheFirstWeekdayFromZero)
{
    for (int day = 1; day <= 7; ++day) {
        mPlatform.mFirstWeekday = day;
        EXPECT_EQ(mServices.GetTMFirstDayOfWeek(), day - 1);
    }
}

TEST_F(CDateTimeServicesImpTest, ConvertsCalendarFields)
{
    StTimeZone const zone(kCentralEurope);
    tm fields{};
    mServices.ConvertToTMUTC(kJuly2026 + 3661, fields);
    EXPECT_EQ(fields.tm_year, 126);
    EXPECT_EQ(fields.tm_mon, 6);
    EXPECT_EQ(fields.tm_mday, 1);
    EXPECT_EQ(fields.tm_hour, 1);
    EXPECT_EQ(fields.tm_min, 1);
    EXPECT_EQ(fields.tm_sec, 1);
    EXPECT_EQ(fields.tm_gmtoff, 0);
    EXPECT_EQ(mServices.ConvertFromTMUTC(&fields), kJuly2026 + 3661);

    mServices.ConvertToTMLocal(kJuly2026 + 3661, fields);
    EXPECT_EQ(fields.tm_hour, 3);
    EXPECT_EQ(fields.tm_isdst, 1);
    EXPECT_EQ(fields.tm_gmtoff, 7200);
    EXPECT_EQ(mServices.ConvertFromTMLocal(&fields), kJuly2026 + 3661);
}

TEST_F(CDateTimeServicesImpTest, CarriesOverCalendarFields)
{
    StTimeZone const zone("AAA-1");
    tm fields{};
    fields.tm_year = 125;
    fields.tm_mon = 11;
    fields.tm_mday = 32;
    EXPECT_EQ(mServices.ConvertFromTMUTC(&fields), kJanuary2026);
    EXPECT_EQ(fields.tm_year, 126);
    EXPECT_EQ(fields.tm_mon, 0);
    EXPECT_EQ(fields.tm_mday, 1);

    fields = tm{};
    fields.tm_year = 125;
    fields.tm_mon = 11;
    fields.tm_mday = 32;
    fields.tm_hour = 1;
    EXPECT_EQ(mServices.ConvertFromTMLocal(&fields), kJanuary2026);
    EXPECT_EQ(fields.tm_year, 126);
}

TEST_F(CDateTimeServicesImpTest, FormatsLocalDates)
{
    StTimeZone const zone("AAA-1");
    std::u16string text = u"former";
    mServices.GetLongDateString(kMarch2026 + 50645, &text);
    EXPECT_EQ(text, u"Sunday, March 01, 2026");
    mServices.GetShortDateString(kMarch2026 + 50645, &text);
    EXPECT_EQ(text, u"03/01/26");
    mServices.GetAbreviateDateString(kMarch2026 + 50645, &text);
    EXPECT_EQ(text, u"Sun, Mar 01, 26");
    mServices.GetTimeString(kMarch2026 + 50645, &text);
    EXPECT_EQ(text, u"15:04:05");
}

TEST_F(CDateTimeServicesImpTest, FormatsInTheLocalesLanguage)
{
    StTimeZone const zone("UTC0");
    StLocale const german("de_DE");
    if (!german.IsThere()) GTEST_SKIP() << "localedef or its sources are missing (package locales)";
    german.Run([this] {
        std::u16string text;
        mServices.GetLongDateString(kMarch2026, &text);
        EXPECT_EQ(text, u"Sonntag, M\u00E4rz 01, 2026");
        mServices.GetShortDateString(kMarch2026, &text);
        EXPECT_EQ(text, u"01.03.2026");
    });
}

TEST_F(CDateTimeServicesImpTest, HasNoTextInALocaleThatDoesNotSpeakUTF8)
{
    StTimeZone const zone("UTC0");
    StLocale const latin("de_DE", "ISO-8859-1");
    if (!latin.IsThere()) GTEST_SKIP() << "localedef or its sources are missing (package locales)";
    latin.Run([this] {
        std::u16string text = u"former";
        mServices.GetLongDateString(kMarch2026, &text);
        EXPECT_EQ(text, u"");
        mServices.GetLongDateString(kJanuary2026, &text);
        EXPECT_EQ(text, u"Donnerstag, Januar 01, 2026");
    });
}

TEST_F(CDateTimeServicesImpTest, SurvivesTimesThatNoCalendarHolds)
{
    for (long const time : {LONG_MAX, LONG_MIN, 67768036191676799L, 67768036191676800L}) {
        SCOPED_TRACE(time);
        tm fields{};
        mServices.ConvertToTMLocal(time, fields);
        mServices.ConvertToTMUTC(time, fields);
        std::u16string text;
        mServices.GetLongDateString(time, &text);
        mServices.GetShortDateString(time, &text);
        EXPECT_LT(text.size(), 255u);
    }
    tm fields{};
    fields.tm_year = std::numeric_limits<int>::max();
    fields.tm_mon = std::numeric_limits<int>::max();
    EXPECT_EQ(mServices.ConvertFromTMUTC(&fields), -1);
}

TEST_F(CDateTimeServicesImpTest, KeepsTheHostsLocale)
{
    StLocale const german("de_DE");
    if (!german.IsThere()) GTEST_SKIP() << "localedef or its sources are missing (package locales)";
    german.Run([] {
        CDateTimeServicesImp const another;
        EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "de_DE.UTF-8");
    });
}

TEST_F(CDateTimeServicesImpTest, ConvertsTextFromUTF8)
{
    std::u16string text = u"former";
    mServices.StringToUnicode("M\xC3\xA4rz \xF0\x9F\x98\x80", &text);
    EXPECT_EQ(text, u"M\u00E4rz \xD83D\xDE00");
    mServices.StringToUnicode("", &text);
    EXPECT_EQ(text, u"");
    text = u"former";
    mServices.StringToUnicode("M\xE4rz", &text);
    EXPECT_EQ(text, u"");
}

TEST(CDateTimeServicesImpDeathTest, SeedsTheNumbersFromTheClockOnceWhoeverComesFirst)
{
    // In a process of its own, where nobody has drawn a number yet.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(DrawNumbersAndExit(), testing::ExitedWithCode(0), "");
}
