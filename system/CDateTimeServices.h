// The clock and calendar: now, a monotonic clock, calendar fields, dates as text, zones, beat time,
// unique stamps.
//
//     long const now = CDateTimeServices::GetDateTimeServices()->GetCurrentTime();
//
// Times are internal time: seconds since 1970-01-01 00:00:00 UTC. A debugging offset moves the
// library's idea of now, so that what depends on the date can be tried without touching the
// system's clock: the sum of the integers "DebugTimeOffsetDays" (times 86400) and
// "DebugTimeOffsetSeconds" in the preferences of `kPreferencesDomain`, read once for the life of
// the process. On Linux that is the group [Preferences] of the file
// `${XDG_CONFIG_HOME:-~/.config}/org.loam.Loam.conf`.
//
// Nothing here fails or blocks, but the first look at the preferences reads a file. Any thread may
// call; the zone, the locale and the state of `rand` are the C library's and belong to the whole
// process.
#pragma once

#include "foundation/LoamExport.h"
#include "system/CBasicDateTimeServicesImp.h"

#include <atomic>
#include <string>

/// The process's clock. Any thread may call the getter, which takes no lock.
class LOAM_EXPORT CDateTimeServices
{
public:
    /// Where the library's preferences are.
    static constexpr char kPreferencesDomain[] = "org.loam.Loam";

    CDateTimeServices();
    CDateTimeServices(CDateTimeServices const&) = delete;
    CDateTimeServices& operator=(CDateTimeServices const&) = delete;
    ~CDateTimeServices();

    /// The one instance, made at the first call; it lives until the process ends.
    static CDateTimeServices* GetDateTimeServices();

    /// Now, moved by the debugging offset.
    long GetCurrentTime() const;
    /// Now in microseconds, moved by the debugging offset.
    long long GetCurrentMicroSeconds() const;

    /// Replaces `stamp` by now in UTC and a random number: "20260131235959.1804289383". Unique only
    /// as far as the number goes.
    void MakeUniqueTimeStamp(std::string* stamp) const;

    /// Thousandths of a day since the day began at UTC+1, rounded down. Not wrapped: the last hour
    /// of the UTC day gives 1000 to 1041.
    int ConvertToBeatTime(long time) const;
    /// Replaces `text` by "@" and at least three digits of beat time: "@041".
    void GetBeatTimeString(long time, std::u16string* text) const;

    /// Replaces `text` by the sign and HHMM of a zone in seconds east of UTC: "+0100", "-0530".
    /// Seconds are dropped.
    void GetTimeZoneString(long timeZone, std::u16string* text) const;
    /// Replaces `text` by the short date, the time and the zone, set apart by ", ". The zone is
    /// only printed: date and time are local ones whatever it says.
    void GetShortDateTimeZoneString(long time, long timeZone, std::u16string* text) const;
    /// The same for now in the local zone.
    void GetCurrentShortDateTimeZoneString(std::u16string* text) const;

    // The implementation's operations; `CBasicDateTimeServicesImp` says what each one does.

    void GetCurrentTime(long* time, long* timeZone) const { mImp->GetCurrentTime(time, timeZone); }

    void GetCurrentMicroSeconds(long long* microSeconds, long* timeZone) const
    {
        mImp->GetCurrentMicroSeconds(microSeconds, timeZone);
    }

    long long GetMonotonicMicroSeconds() const { return mImp->GetMonotonicMicroSeconds(); }

    long ConvertInternalTimeToStd(long time) const { return mImp->ConvertInternalTimeToStd(time); }

    long ConvertStdTimeToInternal(long time) const { return mImp->ConvertStdTimeToInternal(time); }

    int GetTMFirstDayOfWeek() const { return mImp->GetTMFirstDayOfWeek(); }

    long ConvertFromTMLocal(tm* fields) const { return mImp->ConvertFromTMLocal(fields); }

    long ConvertFromTMUTC(tm* fields) const { return mImp->ConvertFromTMUTC(fields); }

    void ConvertToTMLocal(long time, tm& fields) const { mImp->ConvertToTMLocal(time, fields); }

    void ConvertToTMUTC(long time, tm& fields) const { mImp->ConvertToTMUTC(time, fields); }

    void GetTimeZone(long* timeZone) const { mImp->GetTimeZone(timeZone); }

    int MakeUniqueRand() const { return mImp->MakeUniqueRand(); }

    unsigned long ConvertTimeToPlatform(long time) const
    {
        return mImp->ConvertTimeToPlatform(time);
    }

    long ConvertTimeFromPlatform(unsigned long time) const
    {
        return mImp->ConvertTimeFromPlatform(time);
    }

    void GetLongDateString(long time, std::u16string* text) const
    {
        mImp->GetLongDateString(time, text);
    }

    void GetShortDateString(long time, std::u16string* text) const
    {
        mImp->GetShortDateString(time, text);
    }

    void GetAbreviateDateString(long time, std::u16string* text) const
    {
        mImp->GetAbreviateDateString(time, text);
    }

    void GetTimeString(long time, std::u16string* text) const { mImp->GetTimeString(time, text); }

    CBasicDateTimeServicesImp* mImp;  // owned

private:
    static std::atomic<CDateTimeServices*> sDateTimeServices;
};
