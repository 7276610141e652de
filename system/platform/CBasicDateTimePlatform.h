// What the clock and calendar needs of the system.
//
// Operations answer one question in plain types, never throw, decide nothing and may be called from
// any thread.
#pragma once

class CBasicDateTimePlatform
{
public:
    CBasicDateTimePlatform() = default;
    CBasicDateTimePlatform(CBasicDateTimePlatform const&) = delete;
    CBasicDateTimePlatform& operator=(CBasicDateTimePlatform const&) = delete;
    virtual ~CBasicDateTimePlatform() = default;

    /// The integer that the user's preferences of `domain` hold under `key`. False, and `value` as
    /// it was, if there is none or what is there isn't an integer. Reads afresh in every call.
    virtual bool
    GetIntegerPreference(char const* domain, char const* key, long long& value) const = 0;

    /// The first day of the week in the user's calendar, from 1 for Sunday to 7 for Saturday.
    virtual int GetFirstWeekday() const = 0;

    /// Reads the system's time zone afresh, at most a clock tick late, so that the C library's
    /// local time follows a change. False if the zone is known to be what the last call left.
    virtual bool ReloadTimeZone() const = 0;

    /// Seconds since 1970-01-01 00:00:00 UTC.
    virtual long GetSeconds() const = 0;

    /// The same with the microseconds of the second, 0 to 999999, both of one moment.
    virtual void GetMicroSeconds(long& seconds, long& microSeconds) const = 0;

    /// The zone's standard time, without daylight saving, in minutes west of UTC.
    virtual long GetMinutesWest() const = 0;

    /// Microseconds of a clock that nobody sets and that never goes back.
    virtual long long GetMonotonicMicroSeconds() const = 0;
};

/// The platform in use. Any thread may call.
CBasicDateTimePlatform& DateTimePlatform();

/// A new one of the system's own, which the caller owns. Defined in the system's file.
CBasicDateTimePlatform* NewDateTimePlatform();

/// Puts another platform in use for a scope and forgets the debugging offset, at its start and at
/// its end. For tests, while no other thread asks for the time.
class StDateTimePlatform
{
public:
    /// `platform` belongs to the caller and outlives the guard.
    explicit StDateTimePlatform(CBasicDateTimePlatform& platform);
    StDateTimePlatform(StDateTimePlatform const&) = delete;
    StDateTimePlatform& operator=(StDateTimePlatform const&) = delete;
    ~StDateTimePlatform();

private:
    CBasicDateTimePlatform* mFormer;  // not owned
};
