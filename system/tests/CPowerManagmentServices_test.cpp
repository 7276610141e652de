#include "system/CPowerManagmentServices.h"

#include "testing/ScriptedPowerPlatform.h"

#include <gtest/gtest.h>

namespace {

bool HasACPower()
{
    return CPowerManagmentServices::GetPowerManagmentServices()->mImp->HasACPower();
}

}  // namespace

TEST(CPowerManagmentServices, IsMadeOnce)
{
    CPowerManagmentServices* const services = CPowerManagmentServices::GetPowerManagmentServices();
    ASSERT_NE(services, nullptr);
    EXPECT_EQ(CPowerManagmentServices::GetPowerManagmentServices(), services);
}

TEST(CPowerManagmentServices, CanBeMadeApart)
{
    ScriptedPowerPlatform platform;
    platform.mSources = {kPowerSourceNotOnAC};
    StPowerPlatform const inUse(platform);
    CPowerManagmentServices const services;
    EXPECT_NE(&services, CPowerManagmentServices::GetPowerManagmentServices());
    EXPECT_FALSE(services.mImp->HasACPower());
}

TEST(CPowerManagmentServices, HasACPowerIfThereIsNoSourceOrAnySaysSo)
{
    struct
    {
        char const* mWhat;
        std::vector<PowerSourceState> mSources;
        bool mHasACPower;
    } const cases[] = {
        {"no source", {}, true},
        {"one on AC", {kPowerSourceOnAC}, true},
        {"one not on AC", {kPowerSourceNotOnAC}, false},
        {"the first of two on AC", {kPowerSourceOnAC, kPowerSourceNotOnAC}, true},
        {"the last of two on AC", {kPowerSourceNotOnAC, kPowerSourceOnAC}, true},
        {"none of two on AC", {kPowerSourceNotOnAC, kPowerSourceNotOnAC}, false},
        {"only one that isn't described", {kPowerSourceUnknown}, false},
        {"one that isn't described, one on AC", {kPowerSourceUnknown, kPowerSourceOnAC}, true},
        {"one that isn't described, one not", {kPowerSourceUnknown, kPowerSourceNotOnAC}, false},
    };

    ScriptedPowerPlatform platform;
    StPowerPlatform const inUse(platform);
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        platform.mSources = c.mSources;
        EXPECT_EQ(HasACPower(), c.mHasACPower);
    }
}

TEST(CPowerManagmentServices, AsksTheSystemAfreshInEveryCall)
{
    ScriptedPowerPlatform platform;
    StPowerPlatform const inUse(platform);
    platform.mSources = {kPowerSourceOnAC};
    EXPECT_TRUE(HasACPower());
    platform.mSources = {kPowerSourceNotOnAC};
    EXPECT_FALSE(HasACPower());
    EXPECT_EQ(platform.mCalls, 2);
}

TEST(CPowerManagmentServices, GuardPutsTheFormerPlatformBack)
{
    CBasicPowerPlatform const* const former = &PowerPlatform();
    {
        ScriptedPowerPlatform platform;
        StPowerPlatform const inUse(platform);
        EXPECT_EQ(&PowerPlatform(), &platform);
    }
    EXPECT_EQ(&PowerPlatform(), former);
}

TEST(CPowerManagmentServices, TheSystemsOwnPlatformKnowsAMachineWithoutSources)
{
    std::vector<PowerSourceState> const sources = PowerPlatform().GetPowerSources();
    if (!sources.empty()) GTEST_SKIP() << "this machine has power sources";
    EXPECT_TRUE(HasACPower());
}
