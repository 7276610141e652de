// What only the desktop offers, over bundles that a test made up.
#include "system/CProcessServicesImp.h"
#include "testing/ScriptedBundlePlatform.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using Calls = std::vector<std::string>;

constexpr char kLaunchServices[] = "com.apple.LaunchServices";
constexpr char kHIServices[] = "com.apple.HIServices";
constexpr char kHIServicesPath[] =
    "/System/Library/Frameworks/ApplicationServices.framework/Frameworks/HIServices.framework";

// The desktop in use, of which there is one at a time, and what its functions answer.
ScriptedBundlePlatform* sDesktop = nullptr;
int sResult = 0;

int SetIsDaemon(unsigned char isDaemon)
{
    sDesktop->mCalls.push_back("SetIsDaemon(" + std::to_string(isDaemon) + ")");
    return sResult;
}

void SetConnectionStatus(unsigned long long flags, void const* block)
{
    sDesktop->mCalls.push_back("SetConnectionStatus(" + std::to_string(flags) + ", " +
                               ScriptedBundlePlatform::NameOf(block) + ")");
}

void const* CheckIn(int session, void const* info)
{
    sDesktop->mCalls.push_back("CheckIn(" + std::to_string(session) + ", " +
                               ScriptedBundlePlatform::NameOf(info) + ")");
    return nullptr;
}

void const* GetSerialNumber()
{
    return sDesktop->ObjectOf("serial number");
}

int SetInformation(
    int session, void const* serialNumber, void const* key, void const* value, void const** info)
{
    std::string call = "SetInformation(" + std::to_string(session);
    for (void const* const object : {serialNumber, key, value})
        call += ", " + ScriptedBundlePlatform::NameOf(object);
    sDesktop->mCalls.push_back(call + (info ? ", info)" : ")"));
    return sResult;
}

class CProcessServicesDesktopTest : public testing::Test
{
protected:
    CProcessServicesDesktopTest()
    {
        sDesktop = &mDesktop;
        sResult = 0;
        mDesktop.mPresent = {kLaunchServices, kHIServices};
        mDesktop.mFunctions = {
            {"SetApplicationIsDaemon", reinterpret_cast<void*>(&SetIsDaemon)},
            {"_LSApplicationCheckIn", reinterpret_cast<void*>(&CheckIn)},
            {"_LSSetApplicationLaunchServicesServerConnectionStatus",
             reinterpret_cast<void*>(&SetConnectionStatus)},
            {"_LSGetCurrentApplicationASN", reinterpret_cast<void*>(&GetSerialNumber)},
            {"_LSSetApplicationInformationItem", reinterpret_cast<void*>(&SetInformation)},
        };
        mDesktop.mVariables = {{"_kLSDisplayNameKey", &mKey}};
    }

    ~CProcessServicesDesktopTest() override { sDesktop = nullptr; }

    // What was asked of the desktop's functions, without what led there.
    Calls Effects() const
    {
        Calls effects;
        for (std::string const& call : mDesktop.mCalls)
            if (call.compare(0, 3, "Set") == 0 || call.compare(0, 7, "CheckIn") == 0)
                effects.push_back(call);
        return effects;
    }

    ScriptedBundlePlatform mDesktop;
    StBundlePlatform mInUse{mDesktop};
    CProcessServicesImp mServices;
    void const* mKey = mDesktop.ObjectOf("key");
};

}  // namespace

TEST_F(CProcessServicesDesktopTest, AFrameworkIsFoundOrElseLoaded)
{
    struct
    {
        char const* mWhat;
        bool mIsPresent;
        bool mIsInFolder;
        bool mCanLoad;
        std::string mFound;
        bool mWasLoaded;
        Calls mCalls;
    } const cases[] = {
        {"present", true, true, true, "id", false, {"GetBundle(id)"}},
        {"no bundle there",
         false,
         false,
         true,
         "null",
         false,
         {"GetBundle(id)", "CreateBundle(/f)"}},
        {"it can't be loaded",
         false,
         true,
         false,
         "null",
         false,
         {"GetBundle(id)", "CreateBundle(/f)", "LoadExecutable(/f)", "Release(/f)"}},
        {"loaded",
         false,
         true,
         true,
         "/f",
         true,
         {"GetBundle(id)", "CreateBundle(/f)", "LoadExecutable(/f)"}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        mDesktop.mPresent.clear();
        if (c.mIsPresent) mDesktop.mPresent.insert("id");
        mDesktop.mInFolders.clear();
        if (c.mIsInFolder) mDesktop.mInFolders.insert("/f");
        mDesktop.mCanLoad = c.mCanLoad;
        for (bool const isTold : {true, false}) {
            mDesktop.mCalls.clear();
            mDesktop.mHeldObjects = 0;
            bool wasLoaded = !c.mWasLoaded;
            void* const found = mServices.LoadFramework_("id", "/f", isTold ? &wasLoaded : nullptr);
            EXPECT_EQ(ScriptedBundlePlatform::NameOf(found), c.mFound);
            EXPECT_EQ(wasLoaded, isTold == c.mWasLoaded);
            EXPECT_EQ(mDesktop.mCalls, c.mCalls);
            // The caller owns what was loaded.
            EXPECT_EQ(mDesktop.mHeldObjects, c.mWasLoaded ? 1 : 0);
        }
    }
}

TEST_F(CProcessServicesDesktopTest, DaemonModeIsSetByThreeFunctions)
{
    for (bool const isDaemon : {true, false}) {
        mDesktop.mCalls.clear();
        EXPECT_TRUE(mServices.SetDaemonMode(isDaemon));
        EXPECT_THAT(
            mDesktop.mCalls,
            ElementsAre("GetBundle(com.apple.LaunchServices)", "GetBundle(com.apple.HIServices)",
                        "GetFunction(com.apple.HIServices, SetApplicationIsDaemon)",
                        "GetFunction(com.apple.LaunchServices, _LSApplicationCheckIn)",
                        "GetFunction(com.apple.LaunchServices, "
                        "_LSSetApplicationLaunchServicesServerConnectionStatus)",
                        isDaemon ? "SetIsDaemon(1)" : "SetIsDaemon(0)",
                        "SetConnectionStatus(0, null)", "GetMainInfo()", "CheckIn(-2, main info)"));
    }
}

TEST_F(CProcessServicesDesktopTest, DaemonModeNeedsAllButOneOfItsPieces)
{
    Calls const all{"SetIsDaemon(1)", "SetConnectionStatus(0, null)", "CheckIn(-2, main info)"};

    struct
    {
        char const* mWhat;
        std::set<std::string> mPresent;
        std::set<std::string> mInFolders;
        bool mCanLoad;
        char const* mMissing;
        int mResult;
        bool mIsSet;
        Calls mEffects;
        int mHeldObjects;
    } const cases[] = {
        {"no launch services", {kHIServices}, {kHIServicesPath}, true, "", 0, false, {}, 0},
        {"the other bundle is nowhere", {kLaunchServices}, {}, true, "", 0, false, {}, 0},
        {"it can't be loaded", {kLaunchServices}, {kHIServicesPath}, false, "", 0, false, {}, 0},
        {"it is loaded, and stays",
         {kLaunchServices},
         {kHIServicesPath},
         true,
         "",
         0,
         true,
         all,
         1},
        {"nothing to set it by",
         {kLaunchServices, kHIServices},
         {},
         true,
         "SetApplicationIsDaemon",
         0,
         false,
         {},
         0},
        {"nothing to check in by",
         {kLaunchServices, kHIServices},
         {},
         true,
         "_LSApplicationCheckIn",
         0,
         false,
         {},
         0},
        {"nothing to set the connection by",
         {kLaunchServices, kHIServices},
         {},
         true,
         "_LSSetApplicationLaunchServicesServerConnectionStatus",
         0,
         true,
         {"SetIsDaemon(1)", "CheckIn(-2, main info)"},
         0},
        {"refused",
         {kLaunchServices, kHIServices},
         {},
         true,
         "",
         -50,
         false,
         {"SetIsDaemon(1)"},
         0},
    };

    auto const functions = mDesktop.mFunctions;
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        mDesktop.mCalls.clear();
        mDesktop.mHeldObjects = 0;
        mDesktop.mPresent = c.mPresent;
        mDesktop.mInFolders = c.mInFolders;
        mDesktop.mCanLoad = c.mCanLoad;
        mDesktop.mFunctions = functions;
        mDesktop.mFunctions.erase(c.mMissing);
        sResult = c.mResult;
        EXPECT_EQ(mServices.SetDaemonMode(true), c.mIsSet);
        EXPECT_EQ(Effects(), c.mEffects);
        EXPECT_EQ(mDesktop.mHeldObjects, c.mHeldObjects);
    }
}

TEST_F(CProcessServicesDesktopTest, NameIsChangedByTheDisplayNamesKey)
{
    EXPECT_TRUE(mServices.ChangeProcessName("L\xC3\xA4ufer"));
    EXPECT_THAT(
        mDesktop.mCalls,
        ElementsAre("GetBundle(com.apple.LaunchServices)",
                    "GetFunction(com.apple.LaunchServices, _LSGetCurrentApplicationASN)",
                    "GetFunction(com.apple.LaunchServices, _LSSetApplicationInformationItem)",
                    "GetVariable(com.apple.LaunchServices, _kLSDisplayNameKey)",
                    "CreateString(L\xC3\xA4ufer)",
                    "SetInformation(-2, serial number, key, L\xC3\xA4ufer)",
                    "Release(L\xC3\xA4ufer)"));
    EXPECT_EQ(mDesktop.mHeldObjects, 0);
}

TEST_F(CProcessServicesDesktopTest, NameStaysWhereAPieceIsMissing)
{
    struct
    {
        char const* mWhat;
        bool mIsPresent;
        char const* mMissing;
        bool mHasKey;
        bool mIsText;
        int mResult;
        Calls mEffects;
    } const cases[] = {
        {"no launch services", false, "", true, true, 0, {}},
        {"no serial number", true, "_LSGetCurrentApplicationASN", true, true, 0, {}},
        {"nothing to set it by", true, "_LSSetApplicationInformationItem", true, true, 0, {}},
        {"no key", true, "_kLSDisplayNameKey", true, true, 0, {}},
        {"an empty key", true, "", false, true, 0, {}},
        {"a name that is no text", true, "", true, false, 0, {}},
        {"refused", true, "", true, true, -600, {"SetInformation(-2, serial number, key, name)"}},
        {"refused by a number above 0",
         true,
         "",
         true,
         true,
         1,
         {"SetInformation(-2, serial number, key, name)"}},
    };

    auto const functions = mDesktop.mFunctions;
    auto const variables = mDesktop.mVariables;
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        mDesktop.mCalls.clear();
        mDesktop.mPresent.clear();
        if (c.mIsPresent) mDesktop.mPresent.insert(kLaunchServices);
        mDesktop.mFunctions = functions;
        mDesktop.mFunctions.erase(c.mMissing);
        mDesktop.mVariables = variables;
        mDesktop.mVariables.erase(c.mMissing);
        mKey = c.mHasKey ? mDesktop.ObjectOf("key") : nullptr;
        mDesktop.mHasStrings = c.mIsText;
        sResult = c.mResult;
        EXPECT_FALSE(mServices.ChangeProcessName("name"));
        EXPECT_EQ(Effects(), c.mEffects);
        EXPECT_EQ(mDesktop.mHeldObjects, 0);
    }
}
