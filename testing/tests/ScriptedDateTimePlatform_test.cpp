#include "testing/ScriptedDateTimePlatform.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;

TEST(ScriptedDateTimePlatform, AnswersWhatItWasTold)
{
    ScriptedDateTimePlatform platform;
    platform.mPreferences[{"domain", "key"}] = 7;
    platform.mFirstWeekday = 2;
    platform.mSeconds = 3;
    platform.mMicroSeconds = 4;
    platform.mMinutesWest = 5;
    platform.mMonotonicMicroSeconds = 6;

    long long preference = 0;
    EXPECT_TRUE(platform.GetIntegerPreference("domain", "key", preference));
    EXPECT_EQ(preference, 7);
    EXPECT_EQ(platform.GetFirstWeekday(), 2);
    EXPECT_EQ(platform.GetSeconds(), 3);
    long seconds = 0;
    long microSeconds = 0;
    platform.GetMicroSeconds(seconds, microSeconds);
    EXPECT_EQ(seconds, 3);
    EXPECT_EQ(microSeconds, 4);
    EXPECT_EQ(platform.GetMinutesWest(), 5);
    EXPECT_EQ(platform.GetMonotonicMicroSeconds(), 6);
}

TEST(ScriptedDateTimePlatform, LeavesTheValueOfAPreferenceThatIsNotThere)
{
    ScriptedDateTimePlatform platform;
    platform.mPreferences[{"domain", "key"}] = 7;
    long long preference = 1;
    EXPECT_FALSE(platform.GetIntegerPreference("domain", "other", preference));
    EXPECT_FALSE(platform.GetIntegerPreference("other", "key", preference));
    EXPECT_EQ(preference, 1);
}

TEST(ScriptedDateTimePlatform, TracesTheCallsInTheirOrder)
{
    ScriptedDateTimePlatform platform;
    bool isDuring = false;
    platform.mDuringPreference = [&isDuring] { isDuring = true; };
    long long preference = 0;
    platform.GetIntegerPreference("domain", "key", preference);
    platform.ReloadTimeZone();
    EXPECT_TRUE(isDuring);
    EXPECT_THAT(platform.Calls(),
                ElementsAre("GetIntegerPreference(domain, key)", "ReloadTimeZone()"));
}
