#include "testing/ScriptedPowerPlatform.h"

#include <gtest/gtest.h>

TEST(ScriptedPowerPlatform, AnswersWhatItWasToldAndCountsTheCalls)
{
    ScriptedPowerPlatform platform;
    EXPECT_TRUE(platform.GetPowerSources().empty());
    platform.mSources = {kPowerSourceOnAC, kPowerSourceUnknown};
    EXPECT_EQ(platform.GetPowerSources(), platform.mSources);
    EXPECT_EQ(platform.mCalls, 2);
}
