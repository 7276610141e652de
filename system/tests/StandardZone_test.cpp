#include "system/platform/StandardZone.h"

#include "testing/StTimeZone.h"

#include <gtest/gtest.h>

namespace {

constexpr long kJanuary2026 = 1767225600;  // 2026-01-01 00:00:00 UTC
constexpr long kJuly2026 = 1782864000;     // 2026-07-01 00:00:00 UTC

}  // namespace

TEST(StandardZone, IsStandardTimeAllTheYear)
{
    struct
    {
        char const* mWhat;
        char const* mZone;
        long mMinutesWest;
    } const cases[] = {
        {"UTC", "UTC0", 0},
        {"east without daylight saving", "IST-5:30", -330},
        {"west without daylight saving", "MST7", 420},
        {"northern daylight saving", "CET-1CEST,M3.5.0,M10.5.0/3", -60},
        {"southern daylight saving", "AEST-10AEDT,M10.1.0,M4.1.0/3", -600},
        {"daylight saving of half an hour", "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0", -630},
        {"daylight saving in winter, backwards", "IST-1GMT0,M10.5.0,M3.5.0/1", -60},
        {"west with daylight saving", "PST8PDT,M3.2.0,M11.1.0", 480},
        {"a zone of less than an hour", "XXX0:20YYY-0:40,M3.5.0,M10.5.0", 20},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        StTimeZone const zone(c.mZone);
        EXPECT_EQ(StandardMinutesWest(kJanuary2026), c.mMinutesWest);
        EXPECT_EQ(StandardMinutesWest(kJuly2026), c.mMinutesWest);
    }
}

TEST(StandardZone, TakesAnHourOffADaylightSavingThatNeverEnds)
{
    StTimeZone const zone("EST5EDT,0/0,J365/25");
    EXPECT_EQ(StandardMinutesWest(kJanuary2026), 300);
    EXPECT_EQ(StandardMinutesWest(kJuly2026), 300);
}
