#include "system/CDateTimeServices.h"

#include "foundation/FirstUse.h"
#include "marl/stringhelpers.h"
#include "system/CDateTimeServicesImp.h"

#include <cstdio>

namespace {

constexpr char16_t kSeparator[] = u", ";
constexpr unsigned long kSecondsPerDay = 86400;
// Beat time begins its day an hour before UTC does.
constexpr unsigned long kBeatShift = 3600000;
constexpr unsigned long kBeatsPerDay = 1000;

}  // namespace

std::atomic<CDateTimeServices*> CDateTimeServices::sDateTimeServices{nullptr};

CDateTimeServices::CDateTimeServices()
    : mImp(new CDateTimeServicesImp)
{
}

CDateTimeServices::~CDateTimeServices()
{
    delete mImp;
}

CDateTimeServices* CDateTimeServices::GetDateTimeServices()
{
    return GetOrMake(sDateTimeServices, [] { return std::make_unique<CDateTimeServices>(); });
}

long CDateTimeServices::GetCurrentTime() const
{
    long time = 0;
    long timeZone = 0;
    mImp->GetCurrentTime(&time, &timeZone);
    return time;
}

long long CDateTimeServices::GetCurrentMicroSeconds() const
{
    long long microSeconds = 0;
    long timeZone = 0;
    mImp->GetCurrentMicroSeconds(&microSeconds, &timeZone);
    return microSeconds;
}

void CDateTimeServices::MakeUniqueTimeStamp(std::string* stamp) const
{
    tm fields{};
    mImp->ConvertToTMUTC(GetCurrentTime(), fields);
    char text[128];
    std::snprintf(text, sizeof text, "%04ld%02d%02d%02d%02d%02d.%d", fields.tm_year + 1900L,
                  fields.tm_mon + 1, fields.tm_mday, fields.tm_hour, fields.tm_min, fields.tm_sec,
                  mImp->MakeUniqueRand());
    stamp->assign(text);
}

int CDateTimeServices::ConvertToBeatTime(long time) const
{
    unsigned long const second = static_cast<unsigned long>(time) % kSecondsPerDay;
    return static_cast<int>((kBeatShift + second * kBeatsPerDay) / kSecondsPerDay);
}

void CDateTimeServices::GetBeatTimeString(long time, std::u16string* text) const
{
    char number[16];
    std::snprintf(number, sizeof number, "@%03d", ConvertToBeatTime(time));
    text->clear();
    appendstring(text, number);
}

void CDateTimeServices::GetTimeZoneString(long timeZone, std::u16string* text) const
{
    // As a magnitude, so that the lowest number has one too.
    unsigned long const distance = timeZone < 0 ? 0 - static_cast<unsigned long>(timeZone)
                                                : static_cast<unsigned long>(timeZone);
    char number[32];
    std::snprintf(number, sizeof number, "%c%04lu", timeZone < 0 ? '-' : '+',
                  distance / 3600 * 100 + distance % 3600 / 60);
    text->clear();
    appendstring(text, number);
}

void CDateTimeServices::GetShortDateTimeZoneString(long time,
                                                   long timeZone,
                                                   std::u16string* text) const
{
    // Asked for what it does beside: the C library follows a change of the zone before the texts
    // are made.
    GetCurrentTime();

    std::u16string part;
    mImp->GetShortDateString(time, text);
    text->append(kSeparator);
    mImp->GetTimeString(time, &part);
    text->append(part).append(kSeparator);
    GetTimeZoneString(timeZone, &part);
    text->append(part);
}

void CDateTimeServices::GetCurrentShortDateTimeZoneString(std::u16string* text) const
{
    long time = 0;
    long timeZone = 0;
    mImp->GetCurrentTime(&time, &timeZone);
    GetShortDateTimeZoneString(time, timeZone, text);
}
