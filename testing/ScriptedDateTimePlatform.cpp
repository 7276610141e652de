#include "testing/ScriptedDateTimePlatform.h"

#include <ctime>

bool ScriptedDateTimePlatform::GetIntegerPreference(char const* domain,
                                                    char const* key,
                                                    long long& value) const
{
    Note(std::string("GetIntegerPreference(") + domain + ", " + key + ")");
    if (mDuringPreference) mDuringPreference();
    auto const found = mPreferences.find({domain, key});
    if (found == mPreferences.end()) return false;
    value = found->second;
    return true;
}

int ScriptedDateTimePlatform::GetFirstWeekday() const
{
    Note("GetFirstWeekday()");
    return mFirstWeekday;
}

bool ScriptedDateTimePlatform::ReloadTimeZone() const
{
    Note("ReloadTimeZone()");
    if (mMayZoneChange) tzset();
    return mMayZoneChange;
}

long ScriptedDateTimePlatform::GetSeconds() const
{
    Note("GetSeconds()");
    return mSeconds;
}

void ScriptedDateTimePlatform::GetMicroSeconds(long& seconds, long& microSeconds) const
{
    Note("GetMicroSeconds()");
    seconds = mSeconds;
    microSeconds = mMicroSeconds;
}

long ScriptedDateTimePlatform::GetMinutesWest() const
{
    Note("GetMinutesWest()");
    return mMinutesWest;
}

long long ScriptedDateTimePlatform::GetMonotonicMicroSeconds() const
{
    Note("GetMonotonicMicroSeconds()");
    return mMonotonicMicroSeconds;
}

std::vector<std::string> ScriptedDateTimePlatform::Calls() const
{
    std::lock_guard const lock(mMutex);
    return mCalls;
}

void ScriptedDateTimePlatform::Note(std::string call) const
{
    std::lock_guard const lock(mMutex);
    mCalls.push_back(std::move(call));
}
