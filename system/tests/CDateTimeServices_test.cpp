#include "system/CDateTimeServices.h"

#include "testing/ScriptedDateTimePlatform.h"
#include "testing/StEnvironment.h"
#include "testing/StTimeZone.h"

#include <gtest/gtest.h>

#include <climits>
#include <ctime>
#include <string>
#include <vector>

namespace {

constexpr long kJanuary2026 = 1767225600;  // 2026-01-01 00:00:00 UTC

CDateTimeServices& Services()
{
    return *CDateTimeServices::GetDateTimeServices();
}

// Notes which of its operations the facade calls.
class CNotingImp final : public CBasicDateTimeServicesImp
{
public:
    void GetCurrentTime(long* time, long* timeZone) const override
    {
        mCalls.push_back("GetCurrentTime");
        if (time) *time = 1;
        if (timeZone) *timeZone = 2;
    }

    void GetCurrentMicroSeconds(long long* microSeconds, long* timeZone) const override
    {
        mCalls.push_back("GetCurrentMicroSeconds");
        if (microSeconds) *microSeconds = 3;
        if (timeZone) *timeZone = 4;
    }

    long long GetMonotonicMicroSeconds() const override { return 5; }

    long ConvertInternalTimeToStd(long time) const override { return time + 6; }

    long ConvertStdTimeToInternal(long time) const override { return time + 7; }

    int GetTMFirstDayOfWeek() const override { return 8; }

    long ConvertFromTMLocal(tm* fields) const override { return fields->tm_year + 9; }

    long ConvertFromTMUTC(tm* fields) const override { return fields->tm_year + 10; }

    void ConvertToTMLocal(long time, tm& fields) const override
    {
        fields.tm_hour = static_cast<int>(time) + 11;
    }

    void ConvertToTMUTC(long time, tm& fields) const override
    {
        fields.tm_hour = static_cast<int>(time) + 12;
    }

    void GetTimeZone(long* timeZone) const override { *timeZone = 13; }

    int MakeUniqueRand() const override { return 14; }

    unsigned long ConvertTimeToPlatform(long time) const override
    {
        return static_cast<unsigned long>(time) + 15;
    }

    long ConvertTimeFromPlatform(unsigned long time) const override
    {
        return static_cast<long>(time) + 16;
    }

    void GetLongDateString(long, std::u16string* text) const override { *text = u"long"; }

    void GetShortDateString(long, std::u16string* text) const override
    {
        mCalls.push_back("GetShortDateString");
        *text = u"short";
    }

    void GetAbreviateDateString(long, std::u16string* text) const override { *text = u"abreviate"; }

    void GetTimeString(long, std::u16string* text) const override
    {
        mCalls.push_back("GetTimeString");
        *text = u"time";
    }

    mutable std::vector<std::string> mCalls;
};

// A facade over it.
struct NotingServices
{
    NotingServices()
    {
        delete mServices.mImp;
        mServices.mImp = mImp;
    }

    CNotingImp* mImp = new CNotingImp;  // owned by mServices
    CDateTimeServices mServices;
};

}  // namespace

TEST(CDateTimeServices, IsOneForTheProcess)
{
    CDateTimeServices* const services = CDateTimeServices::GetDateTimeServices();
    ASSERT_NE(services, nullptr);
    EXPECT_EQ(CDateTimeServices::GetDateTimeServices(), services);
}

TEST(CDateTimeServices, TellsTheSystemsTime)
{
    // No preferences, wherever the test runs.
    StEnvironment const config("XDG_CONFIG_HOME", "/nonexistent");
    StDateTimePlatform const unread(DateTimePlatform());
    long const before = time(nullptr);
    long const now = Services().GetCurrentTime();
    long long const microSeconds = Services().GetCurrentMicroSeconds();
    EXPECT_GE(now, before);
    EXPECT_LE(now, microSeconds / 1000000);
    EXPECT_LE(microSeconds / 1000000, time(nullptr) + 1);
}

TEST(CDateTimeServices, TellsTheMovedTime)
{
    ScriptedDateTimePlatform platform;
    StDateTimePlatform const inPlace(platform);
    platform.mSeconds = kJanuary2026;
    platform.mMicroSeconds = 5;
    platform.mPreferences[{CDateTimeServices::kPreferencesDomain, "DebugTimeOffsetDays"}] = 2;
    platform.mPreferences[{CDateTimeServices::kPreferencesDomain, "DebugTimeOffsetSeconds"}] = -60;
    EXPECT_EQ(Services().GetCurrentTime(), kJanuary2026 + 172740);
    EXPECT_EQ(Services().GetCurrentMicroSeconds(), (kJanuary2026 + 172740) * 1000000LL + 5);
}

TEST(CDateTimeServices, ForwardsToItsImplementation)
{
    NotingServices const noting;
    CDateTimeServices const& services = noting.mServices;
    EXPECT_EQ(services.GetCurrentTime(), 1);
    EXPECT_EQ(services.GetCurrentMicroSeconds(), 3);
    long time = 0;
    long timeZone = 0;
    long long microSeconds = 0;
    services.GetCurrentTime(&time, &timeZone);
    EXPECT_EQ(time, 1);
    EXPECT_EQ(timeZone, 2);
    services.GetCurrentMicroSeconds(&microSeconds, &timeZone);
    EXPECT_EQ(microSeconds, 3);
    EXPECT_EQ(timeZone, 4);
    EXPECT_EQ(services.GetMonotonicMicroSeconds(), 5);
    EXPECT_EQ(services.ConvertInternalTimeToStd(100), 106);
    EXPECT_EQ(services.ConvertStdTimeToInternal(100), 107);
    EXPECT_EQ(services.GetTMFirstDayOfWeek(), 8);
    tm fields{};
    fields.tm_year = 100;
    EXPECT_EQ(services.ConvertFromTMLocal(&fields), 109);
    EXPECT_EQ(services.ConvertFromTMUTC(&fields), 110);
    services.ConvertToTMLocal(100, fields);
    EXPECT_EQ(fields.tm_hour, 111);
    services.ConvertToTMUTC(100, fields);
    EXPECT_EQ(fields.tm_hour, 112);
    services.GetTimeZone(&timeZone);
    EXPECT_EQ(timeZone, 13);
    EXPECT_EQ(services.MakeUniqueRand(), 14);
    EXPECT_EQ(services.ConvertTimeToPlatform(100), 115u);
    EXPECT_EQ(services.ConvertTimeFromPlatform(100), 116);
    std::u16string text;
    services.GetLongDateString(0, &text);
    EXPECT_EQ(text, u"long");
    services.GetShortDateString(0, &text);
    EXPECT_EQ(text, u"short");
    services.GetAbreviateDateString(0, &text);
    EXPECT_EQ(text, u"abreviate");
    services.GetTimeString(0, &text);
    EXPECT_EQ(text, u"time");
}

TEST(CDateTimeServices, FormatsZones)
{
    struct
    {
        long mZone;
        char16_t const* mText;
    } const cases[] = {
        {0, u"+0000"},     {59, u"+0000"},     {-59, u"-0000"},
        {60, u"+0001"},    {3600, u"+0100"},   {3599, u"+0059"},
        {-3600, u"-0100"}, {-19800, u"-0530"}, {20700, u"+0545"},
        {50400, u"+1400"}, {-43200, u"-1200"}, {LONG_MIN, u"-256204778801521530"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mZone);
        std::u16string text = u"former";
        Services().GetTimeZoneString(c.mZone, &text);
        EXPECT_EQ(text, c.mText);
    }
}

TEST(CDateTimeServices, CountsBeats)
{
    struct
    {
        long mTime;
        int mBeats;
    } const cases[] = {
        {0, 41},
        {1, 41},
        {28, 41},
        {29, 42},
        {43200, 541},
        {82799, 999},
        {86400, 41},
        {kJanuary2026, 41},
        // As a number without a sign: second 25215 of its day.
        {-1, 333},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mTime);
        EXPECT_EQ(Services().ConvertToBeatTime(c.mTime), c.mBeats);
    }
}

TEST(CDateTimeServices, KeepsCountingBeatsInTheLastHour)
{
    EXPECT_EQ(Services().ConvertToBeatTime(82800), 1000);
    EXPECT_EQ(Services().ConvertToBeatTime(86399), 1041);
    std::u16string text;
    Services().GetBeatTimeString(86399, &text);
    EXPECT_EQ(text, u"@1041");
}

TEST(CDateTimeServices, FormatsBeats)
{
    std::u16string text = u"former";
    Services().GetBeatTimeString(0, &text);
    EXPECT_EQ(text, u"@041");
    Services().GetBeatTimeString(43200, &text);
    EXPECT_EQ(text, u"@541");
}

TEST(CDateTimeServices, JoinsDateTimeAndZone)
{
    NotingServices const noting;
    std::u16string text = u"former";
    noting.mServices.GetShortDateTimeZoneString(kJanuary2026, -19800, &text);
    EXPECT_EQ(text, u"short, time, -0530");
    // The current time is asked for first, for what that does to the C library's zone.
    EXPECT_EQ(noting.mImp->mCalls,
              (std::vector<std::string>{"GetCurrentTime", "GetShortDateString", "GetTimeString"}));
}

TEST(CDateTimeServices, PrintsTheZoneAndTakesTheLocalTime)
{
    StTimeZone const zone("AAA-1");
    ScriptedDateTimePlatform platform;
    StDateTimePlatform const inPlace(platform);
    std::u16string text;
    Services().GetShortDateTimeZoneString(kJanuary2026, -7200, &text);
    EXPECT_EQ(text, u"01/01/26, 01:00:00, -0200");
    platform.mSeconds = kJanuary2026 + 60;
    Services().GetCurrentShortDateTimeZoneString(&text);
    EXPECT_EQ(text, u"01/01/26, 01:01:00, +0100");
}

TEST(CDateTimeServices, FollowsAChangeOfTheZoneInTexts)
{
    StTimeZone const former("UTC0");
    ScriptedDateTimePlatform platform;
    StDateTimePlatform const inPlace(platform);
    StEnvironment const later("TZ", "AAA-1");
    std::u16string text;
    Services().GetShortDateTimeZoneString(kJanuary2026, 0, &text);
    EXPECT_EQ(text, u"01/01/26, 01:00:00, +0000");
}

TEST(CDateTimeServices, StampsInUTC)
{
    StTimeZone const zone("AAA-1");
    ScriptedDateTimePlatform platform;
    StDateTimePlatform const inPlace(platform);
    platform.mSeconds = kJanuary2026 - 1;
    std::string stamp = "former";
    Services().MakeUniqueTimeStamp(&stamp);
    ASSERT_EQ(stamp.substr(0, 15), "20251231235959.");
    std::string const number = stamp.substr(15);
    EXPECT_FALSE(number.empty());
    EXPECT_EQ(number.find_first_not_of("0123456789"), std::string::npos);
}

TEST(CDateTimeServices, StampsWhatItsImplementationTells)
{
    NotingServices const noting;
    std::string stamp;
    noting.mServices.MakeUniqueTimeStamp(&stamp);
    // The fields that the implementation left alone are 0, so the month is the first and the day
    // the zeroth.
    EXPECT_EQ(stamp, "19000100130000.14");
}
