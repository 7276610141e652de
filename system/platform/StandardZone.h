// The standard time of a zone, for systems whose clock doesn't tell it.
#pragma once

/// Minutes west of UTC of the local zone's standard time around `time`, a `time_t`: what local time
/// is, or was or will be when daylight saving is off. In a zone without standard time within a year
/// of `time`, an hour less than its daylight saving. Takes the zone as the last `tzset` found it.
long StandardMinutesWest(long time);
