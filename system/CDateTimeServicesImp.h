// The clock and calendar over the C library and the platform in use.
#pragma once

#include "system/CBasicDateTimeServicesImp.h"

#include <atomic>

/// A second and its zone in one word, 0 for none.
using ZoneOfASecond = long long;

class CDateTimeServicesImp final : public CBasicDateTimeServicesImp
{
public:
    CDateTimeServicesImp();

    void GetCurrentTime(long* time, long* timeZone) const override;
    void GetCurrentMicroSeconds(long long* microSeconds, long* timeZone) const override;
    long long GetMonotonicMicroSeconds() const override;
    long ConvertInternalTimeToStd(long time) const override;
    long ConvertStdTimeToInternal(long time) const override;
    int GetTMFirstDayOfWeek() const override;
    long ConvertFromTMLocal(tm* fields) const override;
    long ConvertFromTMUTC(tm* fields) const override;
    void ConvertToTMLocal(long time, tm& fields) const override;
    void ConvertToTMUTC(long time, tm& fields) const override;
    void GetTimeZone(long* timeZone) const override;
    int MakeUniqueRand() const override;
    unsigned long ConvertTimeToPlatform(long time) const override;
    long ConvertTimeFromPlatform(unsigned long time) const override;
    void GetLongDateString(long time, std::u16string* text) const override;
    void GetShortDateString(long time, std::u16string* text) const override;
    void GetAbreviateDateString(long time, std::u16string* text) const override;
    void GetTimeString(long time, std::u16string* text) const override;

    /// Replaces `out` by `text`, which is UTF-8; empty if it isn't. A null `out` is left alone.
    void StringToUnicode(char const* text, std::u16string* out) const;

    /// What is added to the clock, in seconds. Read from the preferences once for the life of the
    /// process, complete before any thread sees it; a sum of -1 is read afresh in every call.
    static long long GetDebugTimeOffsetSeconds();
    /// Has the offset read again at its next use. For tests.
    static void ForgetDebugTimeOffset();

private:
    void FormatLocal(long time, char const* format, std::u16string* text) const;

    static std::atomic<long long> sOffsetInSeconds;
    mutable std::atomic<ZoneOfASecond> mLastZone{0};
};
