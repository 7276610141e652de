#include "system/platform/CBasicDateTimePlatform.h"

#include "foundation/platform/linux/LateLibrary.h"
#include "system/platform/StandardZone.h"

#include <glib.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <type_traits>

#include <langinfo.h>
#include <locale.h>
#include <sys/time.h>
#include <unistd.h>

// What of GLib is called, loaded with the first preference that is asked for.
namespace glib {

inline constinit CLateLibrary library("libglib-2.0.so.0");
LOAM_LATE_FUNCTION(g_, clear_error);
LOAM_LATE_FUNCTION(g_, key_file_free);
LOAM_LATE_FUNCTION(g_, key_file_get_int64);
LOAM_LATE_FUNCTION(g_, key_file_load_from_file);
LOAM_LATE_FUNCTION(g_, key_file_new);

}  // namespace glib

namespace {

constexpr char kPreferencesGroup[] = "Preferences";

// No tick of the clock: the zone is read in every call.
constexpr long long kAlways = -1;

struct FreeKeyFile
{
    void operator()(GKeyFile* file) const { glib::key_file_free(file); }
};

struct FreeLocale
{
    void operator()(locale_t locale) const { freelocale(locale); }
};

// ${XDG_CONFIG_HOME:-~/.config}/<domain>.conf; empty if the user has no folder for it. GLib's own
// answer isn't used, since it keeps the first one. A relative XDG_CONFIG_HOME counts as none (XDG
// Base Directory Specification 0.8).
std::string PreferencesFile(char const* domain)
{
    std::string const name = std::string("/") + domain + ".conf";
    char const* const folder = std::getenv("XDG_CONFIG_HOME");
    if (folder && folder[0] == '/') return folder + name;
    char const* const home = std::getenv("HOME");
    return home ? std::string(home) + "/.config" + name : std::string();
}

// What the locale's data hold as a number. nl_langinfo_l hands it over in the place of the pointer.
unsigned int NumberOf(nl_item item, locale_t locale)
{
    char const* const pointer = nl_langinfo_l(item, locale);
    unsigned int number = 0;
    std::memcpy(&number, &pointer, sizeof number);
    return number;
}

class CDateTimePlatformLinux final : public CBasicDateTimePlatform
{
public:
    bool GetIntegerPreference(char const* domain, char const* key, long long& value) const override
    {
        // Mostly there is no such file, for which no library has to be loaded.
        std::string const path = PreferencesFile(domain);
        bool const isThere = euidaccess(path.c_str(), R_OK) == 0;
        if (!isThere || !glib::library.IsThere()) return false;
        std::unique_ptr<GKeyFile, FreeKeyFile> const file(glib::key_file_new());
        if (!glib::key_file_load_from_file(file.get(), path.c_str(), G_KEY_FILE_NONE, nullptr))
            return false;
        GError* error = nullptr;
        long long const found =
            glib::key_file_get_int64(file.get(), kPreferencesGroup, key, &error);
        bool const isInteger = error == nullptr;
        glib::clear_error(&error);
        if (isInteger) value = found;
        return isInteger;
    }

    // The week is described by the date of a day that begins it in the locale's country (19971130
    // was a Sunday, 19971201 a Monday) and by the number of the day on which it begins for the
    // user, counted from that one.
    int GetFirstWeekday() const override
    {
        std::unique_ptr<std::remove_pointer_t<locale_t>, FreeLocale> const locale(
            newlocale(LC_TIME_MASK, "", nullptr));
        if (!locale) return 1;
        unsigned int const base = NumberOf(_NL_TIME_WEEK_1STDAY, locale.get()) == 19971201 ? 1 : 0;
        auto const number =
            static_cast<unsigned char>(*nl_langinfo_l(_NL_TIME_FIRST_WEEKDAY, locale.get()));
        return static_cast<int>((base + number + 6) % 7) + 1;
    }

    // Where TZ names no zone, tzset asks the file system whether /etc/localtime is still the same
    // file, which costs more than all else that a stamp of the log takes. Within one tick of the
    // kernel's clock (1 to 10 ms) a change of the file is an accident of timing, so it
    // asks once a tick. A change of TZ is seen in every call.
    bool ReloadTimeZone() const override
    {
        timespec tick{};
        clock_gettime(CLOCK_MONOTONIC_COARSE, &tick);
        long long const now =
            std::getenv("TZ") ? kAlways : tick.tv_sec * 1000000000LL + tick.tv_nsec;
        if (now != kAlways && mLastTick.load(std::memory_order_acquire) == now) return false;
        tzset();
        mLastTick.store(now, std::memory_order_release);
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

    // The kernel's record of a zone is always 0 here.
    long GetMinutesWest() const override
    {
        ReloadTimeZone();
        return StandardMinutesWest(time(nullptr));
    }

    long long GetMonotonicMicroSeconds() const override
    {
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        return now.tv_sec * 1000000LL + now.tv_nsec / 1000;
    }

private:
    mutable std::atomic<long long> mLastTick{kAlways};  // of the last tzset without TZ, or kAlways
};

}  // namespace

CBasicDateTimePlatform* NewDateTimePlatform()
{
    return new CDateTimePlatformLinux;
}
