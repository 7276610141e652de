// What a clock and calendar does.
//
// Internal time is a `long` of seconds since 1970-01-01 00:00:00 UTC. Every path still goes through
// the conversions below, so that an implementation on another epoch changes nothing but them.
//
// Out of range: a sum or product that a `long long` can't hold wraps. A time whose year no `int`
// holds leaves the fields of a `tm` as the C library leaves them.
#pragma once

#include "foundation/LoamExport.h"

#include <ctime>
#include <string>

class LOAM_EXPORT CBasicDateTimeServicesImp
{
public:
    CBasicDateTimeServicesImp() = default;
    CBasicDateTimeServicesImp(CBasicDateTimeServicesImp const&) = delete;
    CBasicDateTimeServicesImp& operator=(CBasicDateTimeServicesImp const&) = delete;
    virtual ~CBasicDateTimeServicesImp() = default;

    // Virtual operations keep their order for ever; new ones go last.

    /// Now, in internal time and moved by the debugging offset, and what `GetTimeZone` gives.
    /// Either pointer may be null.
    virtual void GetCurrentTime(long* time, long* timeZone) const = 0;

    /// Now, in microseconds of internal time and moved by the debugging offset. `timeZone`:
    /// standard time in seconds
    /// **west** of UTC, without daylight saving, and so of the opposite sign to `GetTimeZone`.
    /// Either pointer may be null.
    virtual void GetCurrentMicroSeconds(long long* microSeconds, long* timeZone) const = 0;

    /// Microseconds of a clock that nobody sets, for differences only: it has no relation to
    /// internal time, and the debugging offset doesn't move it.
    virtual long long GetMonotonicMicroSeconds() const = 0;

    /// From internal time to `time_t`.
    virtual long ConvertInternalTimeToStd(long time) const = 0;
    /// From `time_t` to internal time.
    virtual long ConvertStdTimeToInternal(long time) const = 0;

    /// The first day of the user's week as `tm_wday` counts: 0 for Sunday.
    virtual int GetTMFirstDayOfWeek() const = 0;

    /// The internal time of local calendar fields. Out-of-range fields are carried over, in
    /// `fields` too; -1 if there is no such time. `fields` isn't null.
    virtual long ConvertFromTMLocal(tm* fields) const = 0;
    /// The same for fields in UTC.
    virtual long ConvertFromTMUTC(tm* fields) const = 0;
    /// The local calendar fields of an internal time.
    virtual void ConvertToTMLocal(long time, tm& fields) const = 0;
    /// The calendar fields of an internal time in UTC.
    virtual void ConvertToTMUTC(long time, tm& fields) const = 0;

    /// The local zone now (moved by the debugging offset), in seconds **east** of UTC with daylight
    /// saving. The system's zone is read afresh
    /// in every call, on Linux at most a tick of its clock (1 to 10 ms) late. A null pointer is
    /// left alone.
    virtual void GetTimeZone(long* timeZone) const = 0;

    /// The next number of the C library's `rand`, which is seeded from the clock by the first call
    /// in the process.
    virtual int MakeUniqueRand() const = 0;

    /// From internal time to the platform's own, and back: what file dates go through.
    virtual unsigned long ConvertTimeToPlatform(long time) const = 0;
    virtual long ConvertTimeFromPlatform(unsigned long time) const = 0;

    // Local date and time as text, by `strftime` in the process's C locale, which is taken to speak
    // UTF-8: a text in another encoding comes out empty, and so does one of more than 254 bytes.
    // `text` is replaced; null is allowed.

    /// "%A, %B %d, %Y".
    virtual void GetLongDateString(long time, std::u16string* text) const = 0;
    /// "%x".
    virtual void GetShortDateString(long time, std::u16string* text) const = 0;
    /// "%a, %b %d, %y".
    virtual void GetAbreviateDateString(long time, std::u16string* text) const = 0;
    /// "%X".
    virtual void GetTimeString(long time, std::u16string* text) const = 0;
};
