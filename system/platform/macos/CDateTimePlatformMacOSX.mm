#include "system/platform/CBasicDateTimePlatform.h"

#include <CoreFoundation/CoreFoundation.h>

#include <ctime>

#include <mach/clock.h>
#include <mach/mach.h>
#include <sys/time.h>

namespace {

class CDateTimePlatformMacOSX final : public CBasicDateTimePlatform
{
public:
    bool GetIntegerPreference(char const* domain, char const* key, long long& value) const override
    {
        CFStringRef const domainName =
            CFStringCreateWithCString(kCFAllocatorDefault, domain, kCFStringEncodingUTF8);
        CFStringRef const keyName =
            CFStringCreateWithCString(kCFAllocatorDefault, key, kCFStringEncodingUTF8);
        Boolean isThere = false;
        CFIndex const found = CFPreferencesGetAppIntegerValue(keyName, domainName, &isThere);
        CFRelease(keyName);
        CFRelease(domainName);
        if (isThere) value = found;
        return isThere;
    }

    int GetFirstWeekday() const override
    {
        CFCalendarRef const calendar = CFCalendarCopyCurrent();
        CFIndex const first = CFCalendarGetFirstWeekday(calendar);
        CFRelease(calendar);
        return static_cast<int>(first);
    }

    // tzset alone keeps to the TZ variable where there is one.
    bool ReloadTimeZone() const override
    {
        tzset();
        tzsetwall();
        return true;
    }

    long GetSeconds() const override { return time(nullptr); }

    void GetMicroSeconds(long& seconds, long& microSeconds) const override
    {
        timeval now{};
        gettimeofday(&now, nullptr);
        seconds = now.tv_sec;
        microSeconds = now.tv_usec;
    }

    // The system's record: standard time as it was at the first call in the process.
    long GetMinutesWest() const override
    {
        timeval now{};

        struct timezone zone
        {
        };

        gettimeofday(&now, &zone);
        return zone.tz_minuteswest;
    }

    long long GetMonotonicMicroSeconds() const override
    {
        // Asked for anew in every call, since a child made by fork has none of its parent's ports.
        mach_port_t const host = mach_host_self();
        clock_serv_t clock = MACH_PORT_NULL;
        host_get_clock_service(host, SYSTEM_CLOCK, &clock);
        mach_timespec_t now{};
        clock_get_time(clock, &now);
        // Each answer was one more reference.
        mach_port_deallocate(mach_task_self(), clock);
        mach_port_deallocate(mach_task_self(), host);
        return now.tv_sec * 1000000LL + now.tv_nsec / 1000;
    }
};

}  // namespace

CBasicDateTimePlatform* NewDateTimePlatform()
{
    return new CDateTimePlatformMacOSX;
}
