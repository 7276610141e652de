// A clock, zone and calendar that answer what a test told them to.
#pragma once

#include "system/platform/CBasicDateTimePlatform.h"

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

/// The answers are plain fields, set before the code under test runs; the trace may grow from many
/// threads. The zone of the C library stays the real one: set it with `StTimeZone`.
class ScriptedDateTimePlatform final : public CBasicDateTimePlatform
{
public:
    bool GetIntegerPreference(char const* domain, char const* key, long long& value) const override;
    int GetFirstWeekday() const override;
    bool ReloadTimeZone() const override;
    long GetSeconds() const override;
    void GetMicroSeconds(long& seconds, long& microSeconds) const override;
    long GetMinutesWest() const override;
    long long GetMonotonicMicroSeconds() const override;

    /// The operations called so far, in their order, with their arguments:
    /// "GetIntegerPreference(domain, key)".
    std::vector<std::string> Calls() const;

    /// By domain and key.
    std::map<std::pair<std::string, std::string>, long long> mPreferences;
    int mFirstWeekday = 1;
    /// Whether a reload finds what may be another zone.
    bool mMayZoneChange = true;
    long mSeconds = 0;
    long mMicroSeconds = 0;
    long mMinutesWest = 0;
    long long mMonotonicMicroSeconds = 0;
    /// Where given, runs within `GetIntegerPreference`: a place for threads to meet.
    std::function<void()> mDuringPreference;

private:
    void Note(std::string call) const;

    mutable std::mutex mMutex;
    mutable std::vector<std::string> mCalls;  // guarded by mMutex
};
