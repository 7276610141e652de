#include "system/CDateTimeServicesImp.h"

#include "system/CDateTimeServices.h"
#include "system/platform/CBasicDateTimePlatform.h"
#include "text/CUTFConverter.h"

#include <clocale>
#include <cstdlib>

namespace {

constexpr long long kNotRead = -1;
constexpr long long kSecondsPerDay = 86400;
constexpr long long kMicroSecondsPerSecond = 1000000;
constexpr long kSecondsPerMinute = 60;
// With its end, what strftime may write of a date or time.
constexpr std::size_t kTextLimit = 255;

struct OffsetKey
{
    char const* mName;
    long long mSeconds;
};

constexpr OffsetKey kOffsetKeys[] = {
    {"DebugTimeOffsetDays", kSecondsPerDay},
    {"DebugTimeOffsetSeconds", 1},
};

// A preference can hold any number, so what is made of it may overflow: it wraps.
long long Sum(long long a, long long b)
{
    return static_cast<long long>(static_cast<unsigned long long>(a) +
                                  static_cast<unsigned long long>(b));
}

long long Product(long long a, long long b)
{
    return static_cast<long long>(static_cast<unsigned long long>(a) *
                                  static_cast<unsigned long long>(b));
}

long long ReadDebugTimeOffset()
{
    long long offset = 0;
    for (OffsetKey const& key : kOffsetKeys) {
        long long value = 0;
        if (DateTimePlatform().GetIntegerPreference(CDateTimeServices::kPreferencesDomain,
                                                    key.mName, value)) {
            offset = Sum(offset, Product(value, key.mSeconds));
        }
    }
    return offset;
}

// Above the 18 bits of the zone, moved up to be positive, the second's lower 46: those of two
// million years. Zones end a day and two hours from UTC (RFC 8536, 3.2); 0 is none.
constexpr long long kZoneRange = 1 << 18;

ZoneOfASecond Pack(time_t second, long zone)
{
    long long const moved = zone + kZoneRange / 2;
    return moved > 0 && moved < kZoneRange ? Product(second, kZoneRange) | moved : 0;
}

bool IsKnown(ZoneOfASecond packed, time_t second, long& zone)
{
    long long const moved = packed & (kZoneRange - 1);
    zone = static_cast<long>(moved - kZoneRange / 2);
    return moved != 0 && (packed & -kZoneRange) == Product(second, kZoneRange);
}

time_t Now()
{
    return Sum(DateTimePlatform().GetSeconds(), CDateTimeServicesImp::GetDebugTimeOffsetSeconds());
}

}  // namespace

std::atomic<long long> CDateTimeServicesImp::sOffsetInSeconds{kNotRead};

CDateTimeServicesImp::CDateTimeServicesImp()
{
    // Kept on purpose: a blank names no locale, so the host's own choice stays.
    std::setlocale(LC_ALL, " ");
}

void CDateTimeServicesImp::GetCurrentTime(long* time, long* timeZone) const
{
    if (timeZone) GetTimeZone(timeZone);
    if (time) *time = ConvertStdTimeToInternal(Now());
}

void CDateTimeServicesImp::GetCurrentMicroSeconds(long long* microSeconds, long* timeZone) const
{
    long seconds = 0;
    long fraction = 0;
    DateTimePlatform().GetMicroSeconds(seconds, fraction);
    seconds = Sum(seconds, GetDebugTimeOffsetSeconds());
    // Kept on purpose: west of UTC, while GetTimeZone counts eastwards.
    if (timeZone) *timeZone = DateTimePlatform().GetMinutesWest() * kSecondsPerMinute;
    if (microSeconds) {
        *microSeconds =
            Sum(Product(ConvertStdTimeToInternal(seconds), kMicroSecondsPerSecond), fraction);
    }
}

long long CDateTimeServicesImp::GetMonotonicMicroSeconds() const
{
    return DateTimePlatform().GetMonotonicMicroSeconds();
}

long CDateTimeServicesImp::ConvertInternalTimeToStd(long time) const
{
    return time;
}

long CDateTimeServicesImp::ConvertStdTimeToInternal(long time) const
{
    return time;
}

int CDateTimeServicesImp::GetTMFirstDayOfWeek() const
{
    return DateTimePlatform().GetFirstWeekday() - 1;
}

long CDateTimeServicesImp::ConvertFromTMLocal(tm* fields) const
{
    return ConvertStdTimeToInternal(mktime(fields));
}

long CDateTimeServicesImp::ConvertFromTMUTC(tm* fields) const
{
    return ConvertStdTimeToInternal(timegm(fields));
}

void CDateTimeServicesImp::ConvertToTMLocal(long time, tm& fields) const
{
    time_t const stdTime = ConvertInternalTimeToStd(time);
    localtime_r(&stdTime, &fields);
}

void CDateTimeServicesImp::ConvertToTMUTC(long time, tm& fields) const
{
    time_t const stdTime = ConvertInternalTimeToStd(time);
    gmtime_r(&stdTime, &fields);
}

// A stamp of the log asks for each line, mostly within the second and the zone of the last one.
void CDateTimeServicesImp::GetTimeZone(long* timeZone) const
{
    bool const mayHaveChanged = DateTimePlatform().ReloadTimeZone();
    time_t const now = Now();
    ZoneOfASecond const last = mLastZone.load(std::memory_order_relaxed);
    long zone = 0;
    if (mayHaveChanged || !IsKnown(last, now, zone)) {
        tm fields{};
        localtime_r(&now, &fields);
        zone = fields.tm_gmtoff;
        mLastZone.store(Pack(now, zone), std::memory_order_relaxed);
    }
    if (timeZone) *timeZone = zone;
}

int CDateTimeServicesImp::MakeUniqueRand() const
{
    // Made in one thread while the others wait, so that no number is drawn before the seed is in.
    static bool const sRandInitialized = [] {
        srand(static_cast<unsigned int>(DateTimePlatform().GetSeconds()));
        return true;
    }();
    static_cast<void>(sRandInitialized);
    return rand();
}

unsigned long CDateTimeServicesImp::ConvertTimeToPlatform(long time) const
{
    return static_cast<unsigned long>(time);
}

long CDateTimeServicesImp::ConvertTimeFromPlatform(unsigned long time) const
{
    return static_cast<long>(time);
}

void CDateTimeServicesImp::GetLongDateString(long time, std::u16string* text) const
{
    FormatLocal(time, "%A, %B %d, %Y", text);
}

void CDateTimeServicesImp::GetShortDateString(long time, std::u16string* text) const
{
    FormatLocal(time, "%x", text);
}

void CDateTimeServicesImp::GetAbreviateDateString(long time, std::u16string* text) const
{
    FormatLocal(time, "%a, %b %d, %y", text);
}

void CDateTimeServicesImp::GetTimeString(long time, std::u16string* text) const
{
    FormatLocal(time, "%X", text);
}

void CDateTimeServicesImp::StringToUnicode(char const* text, std::u16string* out) const
{
    if (out)
        CUTFConverter::ConvertUTF8toUTF16(std::string(text), *out, CUTFConverter::kLenientMode);
}

long long CDateTimeServicesImp::GetDebugTimeOffsetSeconds()
{
    long long const known = sOffsetInSeconds.load(std::memory_order_relaxed);
    if (known != kNotRead) return known;

    // Summed up aside and stored once, so that nobody sees half of it. Of threads that meet here
    // the first one's value stands. A sum of -1 can't be told from "not read" and is read again
    // next time.
    long long const read = ReadDebugTimeOffset();
    long long stored = kNotRead;
    return sOffsetInSeconds.compare_exchange_strong(stored, read, std::memory_order_relaxed)
               ? read
               : stored;
}

void CDateTimeServicesImp::ForgetDebugTimeOffset()
{
    sOffsetInSeconds.store(kNotRead, std::memory_order_relaxed);
}

void CDateTimeServicesImp::FormatLocal(long time, char const* format, std::u16string* text) const
{
    auto const stdTime = static_cast<time_t>(ConvertTimeToPlatform(time));
    tm fields{};
    localtime_r(&stdTime, &fields);
    // What didn't fit leaves pieces behind, so only what strftime answers for is taken.
    char buffer[kTextLimit] = "";
    buffer[strftime(buffer, sizeof buffer, format, &fields)] = '\0';
    StringToUnicode(buffer, text);
}
