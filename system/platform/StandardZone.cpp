#include "system/platform/StandardZone.h"

#include <ctime>
#include <initializer_list>

namespace {

constexpr long kSecondsPerMinute = 60;
constexpr long kMinutesPerHour = 60;
constexpr long kDaysPerYear = 366;
constexpr long kSecondsPerDay = 86400;
// Shorter than any stretch of standard time, so that a step can't miss one.
constexpr long kStep = 14 * kSecondsPerDay;

struct Zone
{
    bool mIsStandard;
    long mMinutesWest;
};

Zone ZoneAt(time_t time)
{
    tm fields{};
    localtime_r(&time, &fields);
    return {fields.tm_isdst <= 0, -fields.tm_gmtoff / kSecondsPerMinute};
}

}  // namespace

// The record of a zone has no field for it, and a fixed hour would be wrong: Lord Howe Island moves
// its clocks by half an hour, and Ireland's daylight saving is winter, by an hour back. So the
// nearest moment without it is asked.
long StandardMinutesWest(long time)
{
    Zone const present = ZoneAt(time);
    if (present.mIsStandard) return present.mMinutesWest;

    for (long distance = kStep; distance <= kDaysPerYear * kSecondsPerDay; distance += kStep) {
        for (long const moment : {time - distance, time + distance}) {
            Zone const zone = ZoneAt(moment);
            if (zone.mIsStandard) return zone.mMinutesWest;
        }
    }
    return present.mMinutesWest + kMinutesPerHour;
}
