#include "system/platform/PowerSupplies.h"

#include "system/CPowerManagmentServices.h"
#include "testing/ScriptedPowerPlatform.h"
#include "testing/StTempDir.h"

#include <map>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace {

// By the supply's name and the file's. The kernel ends each file with a newline.
using Tree = std::map<std::string, std::map<std::string, std::string>>;

void Write(StTempDir const& folder, Tree const& tree)
{
    for (auto const& [supply, files] : tree) {
        folder.MakeFolder(supply);
        for (auto const& [file, text] : files)
            folder.Write(supply + "/" + file, text + "\n");
    }
}

std::vector<PowerSourceState> SourcesOf(Tree const& tree)
{
    StTempDir const folder;
    Write(folder, tree);
    return ReadPowerSupplies(folder.Path());
}

std::map<std::string, std::string> Battery(std::string const& status)
{
    return {{"type", "Battery"}, {"present", "1"}, {"scope", "System"}, {"status", status}};
}

std::map<std::string, std::string> Adapter(std::string const& online)
{
    return {{"type", "Mains"}, {"online", online}};
}

std::map<std::string, std::string> UPS(std::string const& status)
{
    return {{"type", "UPS"}, {"status", status}};
}

}  // namespace

TEST(PowerSupplies, DecideWhetherTheMachineRunsFromMains)
{
    struct
    {
        char const* mWhat;
        Tree mTree;
        bool mHasACPower;
    } const cases[] = {
        {"desktop without supplies", {}, true},
        {"laptop on its battery", {{"AC", Adapter("0")}, {"BAT0", Battery("Discharging")}}, false},
        {"laptop that charges", {{"AC", Adapter("1")}, {"BAT0", Battery("Charging")}}, true},
        {"laptop that is full", {{"AC", Adapter("1")}, {"BAT0", Battery("Full")}}, true},
        {"laptop kept from charging",
         {{"AC", Adapter("1")}, {"BAT0", Battery("Not charging")}},
         true},
        {"laptop on too weak an adapter",
         {{"AC", Adapter("1")}, {"BAT0", Battery("Discharging")}},
         true},
        {"laptop without its battery", {{"AC", Adapter("1")}}, true},
        {"laptop whose battery doesn't know, plugged in",
         {{"AC", Adapter("1")}, {"BAT0", Battery("Unknown")}},
         true},
        {"laptop whose battery doesn't know, unplugged",
         {{"AC", Adapter("0")}, {"BAT0", Battery("Unknown")}},
         false},
        {"laptop fed by USB",
         {{"AC", Adapter("0")},
          {"BAT0", Battery("Discharging")},
          {"USBC000:001", {{"type", "USB"}, {"online", "2"}}}},
         true},
        {"laptop on a dock that lists no adapter", {{"BAT0", Battery("Charging")}}, true},
        {"laptop with two batteries, one of them in use",
         {{"AC", Adapter("0")}, {"BAT0", Battery("Discharging")}, {"BAT1", Battery("Full")}},
         false},
        {"laptop with two batteries, one of them charging",
         {{"AC", Adapter("1")}, {"BAT0", Battery("Not charging")}, {"BAT1", Battery("Charging")}},
         true},
        {"desktop whose UPS is full", {{"ups", UPS("Full")}}, true},
        {"desktop whose UPS charges", {{"ups", UPS("Charging")}}, true},
        {"desktop in a power cut", {{"ups", UPS("Discharging")}}, false},
        {"desktop with a mouse whose battery runs down",
         {{"hidpp_battery_0",
           {{"type", "Battery"}, {"scope", "Device"}, {"status", "Discharging"}}}},
         true},
    };

    ScriptedPowerPlatform platform;
    StPowerPlatform const inUse(platform);
    CPowerManagmentServices const services;
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        platform.mSources = SourcesOf(c.mTree);
        EXPECT_EQ(services.mImp->HasACPower(), c.mHasACPower);
    }
}

TEST(PowerSupplies, SayWhatABatteryAloneIsDoing)
{
    struct
    {
        char const* mStatus;
        PowerSourceState mState;
    } const cases[] = {
        {"Charging", kPowerSourceOnAC},
        {"Full", kPowerSourceOnAC},
        {"Not charging", kPowerSourceOnAC},
        {"Unknown", kPowerSourceOnAC},
        {"", kPowerSourceOnAC},
        {"Discharging", kPowerSourceNotOnAC},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mStatus);
        EXPECT_THAT(SourcesOf({{"BAT0", Battery(c.mStatus)}}), ElementsAre(c.mState));
    }
}

TEST(PowerSupplies, AnUnpluggedAdapterSpeaksForABatteryThatDoesNot)
{
    struct
    {
        char const* mStatus;
        PowerSourceState mState;
    } const cases[] = {
        {"Charging", kPowerSourceOnAC},
        {"Full", kPowerSourceOnAC},
        {"Not charging", kPowerSourceNotOnAC},
        {"Unknown", kPowerSourceNotOnAC},
        {"", kPowerSourceNotOnAC},
        {"Discharging", kPowerSourceNotOnAC},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mStatus);
        EXPECT_THAT(SourcesOf({{"AC", Adapter("0")}, {"BAT0", Battery(c.mStatus)}}),
                    ElementsAre(c.mState));
    }
}

TEST(PowerSupplies, CountAnAdapterOnlyWhileItIsOnline)
{
    struct
    {
        char const* mWhat;
        std::map<std::string, std::string> mFiles;
        bool mIsSource;
    } const cases[] = {
        {"mains, online", {{"type", "Mains"}, {"online", "1"}}, true},
        {"mains, offline", {{"type", "Mains"}, {"online", "0"}}, false},
        {"mains that doesn't say", {{"type", "Mains"}}, false},
        {"mains that says nothing", {{"type", "Mains"}, {"online", ""}}, false},
        {"USB, online", {{"type", "USB"}, {"online", "1"}}, true},
        {"USB, online with a chosen voltage", {{"type", "USB"}, {"online", "2"}}, true},
        {"wireless, online", {{"type", "Wireless"}, {"online", "1"}}, true},
        {"of a device", {{"type", "Mains"}, {"online", "1"}, {"scope", "Device"}}, false},
        {"not there", {{"type", "Mains"}, {"online", "1"}, {"present", "0"}}, false},
        {"of no type", {{"online", "1"}}, false},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        auto const sources = SourcesOf({{"supply", c.mFiles}});
        EXPECT_EQ(sources.size(), c.mIsSource ? 1u : 0u);
    }
}

TEST(PowerSupplies, PassOverWhatIsNoBatteryOfTheMachine)
{
    struct
    {
        char const* mWhat;
        std::map<std::string, std::string> mFiles;
    } const cases[] = {
        {"an empty bay", {{"type", "Battery"}, {"present", "0"}, {"status", "Discharging"}}},
        {"a device's own", {{"type", "Battery"}, {"scope", "Device"}, {"status", "Discharging"}}},
        {"one without a type", {{"status", "Discharging"}}},
        {"one that has just gone", {}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_THAT(SourcesOf({{"BAT0", c.mFiles}}), IsEmpty());
        EXPECT_THAT(SourcesOf({{"BAT0", c.mFiles}, {"BAT1", Battery("Charging")}}),
                    ElementsAre(kPowerSourceOnAC));
    }
}

TEST(PowerSupplies, AreListedEachForItself)
{
    EXPECT_THAT(SourcesOf({{"AC", Adapter("1")},
                           {"BAT0", Battery("Discharging")},
                           {"BAT1", Battery("Charging")}}),
                UnorderedElementsAre(kPowerSourceOnAC, kPowerSourceNotOnAC, kPowerSourceOnAC));
}

TEST(PowerSupplies, FollowTheLinksThatTheKernelLists)
{
    StTempDir const devices;
    Write(devices, {{"BAT0", Battery("Discharging")}});
    StTempDir const folder;
    ASSERT_EQ(symlink(devices.Path("BAT0").c_str(), folder.Path("BAT0").c_str()), 0);
    ASSERT_EQ(symlink(devices.Path("gone").c_str(), folder.Path("BAT1").c_str()), 0);
    EXPECT_THAT(ReadPowerSupplies(folder.Path()), ElementsAre(kPowerSourceNotOnAC));
}

TEST(PowerSupplies, AreNoneWhereNoneCanBeRead)
{
    StTempDir const folder;
    EXPECT_THAT(ReadPowerSupplies(folder.Path("missing")), IsEmpty());
    EXPECT_THAT(ReadPowerSupplies(folder.Write("file", "")), IsEmpty());
    EXPECT_THAT(ReadPowerSupplies(""), IsEmpty());
    folder.Write("folder/stray", "a file among the supplies");
    folder.MakeFolder("folder/BAT0/status");
    folder.Write("folder/BAT0/type", "Battery\n");
    EXPECT_THAT(ReadPowerSupplies(folder.Path("folder")), ElementsAre(kPowerSourceOnAC));
}
