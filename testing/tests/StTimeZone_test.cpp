#include "testing/StTimeZone.h"

#include <gtest/gtest.h>

#include <ctime>

namespace {

long OffsetAtTheEpoch()
{
    time_t const epoch = 0;
    tm fields{};
    localtime_r(&epoch, &fields);
    return fields.tm_gmtoff;
}

}  // namespace

TEST(StTimeZone, PutsBackTheZoneThatWasThere)
{
    StTimeZone const outer("AAA-1");
    EXPECT_EQ(OffsetAtTheEpoch(), 3600);
    {
        StTimeZone const inner("BBB+2:30");
        EXPECT_EQ(OffsetAtTheEpoch(), -9000);
    }
    EXPECT_EQ(OffsetAtTheEpoch(), 3600);
}
