// Process control over platforms that do what is written here.
#include "system/CProcessServices.h"

#include "files/CFileSpec.h"
#include "system/CProcessServicesImp.h"
#include "testing/ScriptedBundlePlatform.h"
#include "testing/ScriptedLoadPlatform.h"
#include "testing/ScriptedProcessPlatform.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <cmath>
#include <cstring>

#include <signal.h>
#include <unistd.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Imp = CBasicProcessServicesImp;
using Calls = std::vector<std::string>;

// Process control on platforms of its own, for the time of a test.
class CProcessServicesTest : public testing::Test
{
protected:
    int Launch(std::u16string const& path, std::vector<std::string> const& arguments = {})
    {
        return mServices.LaunchProcess(CFileSpec(path, false), arguments, false);
    }

    // A sample with these ticks, at a moment and with a process time in microseconds.
    bool Sample(std::vector<ProcessorTicks> const& ticks, long long now, long long processTime)
    {
        mLoad.mTicks = ticks;
        mLoad.mProcessTime = processTime;
        mProcess.mNow = now;
        return mServices.GetCPUActivity(mTotal, mLoads, mOwn);
    }

    ScriptedProcessPlatform mProcess;
    ScriptedLoadPlatform mLoad;
    ScriptedBundlePlatform mBundle;
    StProcessPlatform mProcessInUse{mProcess};
    StLoadPlatform mLoadInUse{mLoad};
    StBundlePlatform mBundleInUse{mBundle};
    CProcessServicesImp mServices;
    float mTotal = -7;
    float mOwn = -7;
    std::vector<float> mLoads{-7};
};

// The place of a virtual operation in its class's table, as all compilers for our systems lay it
// out.
template <class Operation>
long SlotOf(Operation operation)
{
    long offset = 0;
    std::memcpy(&offset, &operation, sizeof offset);
    return offset / static_cast<long>(sizeof(void*));
}

}  // namespace

TEST(CProcessServices, IsOneForTheProcess)
{
    CProcessServices* const services = CProcessServices::GetProcessServices();
    ASSERT_NE(services, nullptr);
    EXPECT_EQ(CProcessServices::GetProcessServices(), services);
}

TEST(CProcessServices, KnowsThisProcess)
{
    EXPECT_EQ(CProcessServices::GetProcessServices()->mImp->GetCurrentProcess(), getpid());
}

TEST(CProcessServices, CanBeHadAsAnInstanceOfItsOwn)
{
    CProcessServices const own;
    EXPECT_EQ(own.mImp->GetCurrentProcess(), getpid());
    EXPECT_NE(&own, CProcessServices::GetProcessServices());
}

TEST(CProcessServices, KeepsTheOrderOfItsOperations)
{
    using ByContainer = void (Imp::*)(std::string const&, CBasicFileSpec::StdContainerEnum,
                                      char const*, CFileSpec&, bool&, bool&) const;
    using ByKind =
        void (Imp::*)(std::string const&, bool, CFileSpec&, bool&, bool&, std::string&) const;
    // Two destructors come first.
    EXPECT_THAT((std::vector<long>{
                    SlotOf(&Imp::SetPriority),
                    SlotOf(&Imp::GetPriority),
                    SlotOf(&Imp::SetDaemonMode),
                    SlotOf(&Imp::ChangeProcessName),
                    SlotOf(&Imp::EnableCrashUserAlerts),
                    SlotOf(&Imp::PreventChildZombies),
                    SlotOf(&Imp::LaunchProcess),
                    SlotOf(&Imp::GetCurrentProcess),
                    SlotOf(&Imp::GetBootTime),
                    SlotOf(&Imp::IsProcessRunning),
                    SlotOf(&Imp::KillProcess),
                    SlotOf(&Imp::InstallStartupProcess),
                    SlotOf(&Imp::CheckStartupProcess),
                    SlotOf(&Imp::UninstallStartupProcess),
                    SlotOf(&Imp::StartStartupProcess),
                    SlotOf(&Imp::StopStartupProcess),
                    SlotOf(&Imp::ExecuteSubprocess),
                    SlotOf(&Imp::GetCPUInfo),
                    SlotOf(&Imp::GetCPUActivity),
                    SlotOf(&Imp::UnloadStartupProcess),
                    SlotOf(static_cast<ByContainer>(&Imp::GetStartupProcessPlistFile)),
                    SlotOf(static_cast<ByKind>(&Imp::GetStartupProcessPlistFile)),
                }),
                ElementsAre(2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21,
                            22, 23));
}

TEST_F(CProcessServicesTest, PriorityIsSetAsANiceValue)
{
    struct
    {
        char const* mWhat;
        unsigned int mPriority;
        int mNice;
    } const cases[] = {
        {"lowest", Imp::kPriorityLowest, 20},
        {"low", Imp::kPriorityLow, 10},
        {"normal", Imp::kPriorityNormal, 0},
        {"high", Imp::kPriorityHigh, -10},
        {"highest", Imp::kPriorityHighest, -20},
        {"the first unknown one", 5, 0},
        {"a larger one", 1000, 0},
        {"one that would be negative as a signed number", 0x80000000, 0},
        {"-1", 0xFFFFFFFF, 0},
    };

    mProcess.mSetNiceResult = -3;
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        mProcess.mCalls.clear();
        EXPECT_EQ(mServices.SetPriority(static_cast<Imp::Priority>(c.mPriority)), -3);
        EXPECT_EQ(mProcess.mCalls, Calls{"SetNice(" + std::to_string(c.mNice) + ")"});
    }
}

TEST_F(CProcessServicesTest, KeepsTheTableByWhichPriorityReadsBack)
{
    struct
    {
        char const* mWhat;
        int mNice;
        Imp::Priority mPriority;
    } const cases[] = {
        {"more than the system knows", 21, Imp::kPriorityLowest},
        {"20", 20, Imp::kPriorityLowest},
        {"what Linux makes of 20", 19, Imp::kPriorityLow},
        {"10", 10, Imp::kPriorityLow},
        {"1", 1, Imp::kPriorityLow},
        {"0", 0, Imp::kPriorityNormal},
        {"-1, as of a failure", -1, Imp::kPriorityHighest},
        {"-10, as of the high priority", -10, Imp::kPriorityHighest},
        {"-20", -20, Imp::kPriorityHighest},
        {"less than the system knows", -21, Imp::kPriorityHigh},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        mProcess.mNice = c.mNice;
        EXPECT_EQ(mServices.GetPriority(), c.mPriority);
    }
}

TEST_F(CProcessServicesTest, KeepsHighPriorityReadingBackAsHighest)
{
    mServices.SetPriority(Imp::kPriorityHigh);
    EXPECT_EQ(mServices.GetPriority(), Imp::kPriorityHighest);
}

TEST_F(CProcessServicesTest, BootTimeIsMinusOneWhereTheSystemDoesNotTell)
{
    EXPECT_EQ(mServices.GetBootTime(), -1);
    mProcess.mBootTime = 1600000000;
    EXPECT_EQ(mServices.GetBootTime(), 1600000000);
}

TEST_F(CProcessServicesTest, CrashAlertsAreNothing)
{
    mServices.EnableCrashUserAlerts(true);
    mServices.EnableCrashUserAlerts(false);
    EXPECT_THAT(mProcess.mCalls, IsEmpty());
    EXPECT_THAT(mBundle.mCalls, IsEmpty());
}

TEST_F(CProcessServicesTest, LaunchHandsThePathAndTheArgumentsOn)
{
    EXPECT_EQ(Launch(u"/usr/bin/a b/c", {"-x", "", "two words", "\"quoted\""}), 4711);
    EXPECT_EQ(mProcess.mCalls,
              Calls{"Spawn(/usr/bin/a b/c, /usr/bin/a b/c, -x, , two words, \"quoted\")"});
    EXPECT_THAT(mBundle.mCalls, IsEmpty());
}

TEST_F(CProcessServicesTest, LaunchThatFailsIsZero)
{
    mProcess.mSpawnError = ENOENT;
    EXPECT_EQ(Launch(u"/no/such"), 0);
}

TEST_F(CProcessServicesTest, LaunchLooksIntoApplications)
{
    mBundle.mExecutables = {{"/A/Read.app", "/A/Read.app/Contents/MacOS/Read"},
                            {"Bare.app", "Bare.app/Bare"},
                            {"/.app", "/.app/x"},
                            {"/A/Lu\u0308.app", "/l"}};

    struct
    {
        char const* mWhat;
        char16_t const* mPath;
        Calls mAsked;
        char const* mLaunched;
    } const cases[] = {
        {"an application", u"/A/Read.app", {"/A/Read.app"}, "/A/Read.app/Contents/MacOS/Read"},
        {"a name without a folder", u"Bare.app", {"Bare.app"}, "Bare.app/Bare"},
        {"nothing but the extension", u"/.app", {"/.app"}, "/.app/x"},
        {"a name that isn't ASCII", u"/A/Lu\u0308.app", {"/A/Lu\u0308.app"}, "/l"},
        {"no application but named so", u"/A/Text.app", {"/A/Text.app"}, "/A/Text.app"},
        {"upper case", u"/A/READ.APP", {}, "/A/READ.APP"},
        {"in a folder named so", u"/A/Read.app/tool", {}, "/A/Read.app/tool"},
        {"with a slash at the end", u"/A/Read.app/", {}, "/A/Read.app/"},
        {"too short", u"/app", {}, "/app"},
        {"no extension", u"/A/Readapp", {}, "/A/Readapp"},
        {"half a character", u"/A/\xD800x", {}, "/A/\xEF\xBF\xBDx"},
        {"no path at all", u"", {}, ""},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        mBundle.mCalls.clear();
        mProcess.mCalls.clear();
        Launch(c.mPath);
        Calls asked;
        for (std::string const& path : c.mAsked)
            asked.push_back("GetExecutable(" + path + ")");
        EXPECT_EQ(mBundle.mCalls, asked);
        EXPECT_EQ(mProcess.mCalls,
                  Calls{std::string("Spawn(") + c.mLaunched + ", " + c.mLaunched + ")"});
    }
}

TEST_F(CProcessServicesTest, AProcessThatEndsAtOnceIsNotKilled)
{
    mProcess.mNow = 1000;
    mProcess.mEnd = 1001;
    mServices.KillProcess(42);
    EXPECT_THAT(mProcess.mCalls,
                ElementsAre("SendSignal(42, " + std::to_string(SIGTERM) + ")",
                            "GetMonotonicMicroSeconds()", "Sleep(25000)", "IsRunning(42)"));
}

TEST_F(CProcessServicesTest, AProcessThatEndsInTimeIsNotKilled)
{
    mProcess.mEnd = 3025000;
    mServices.KillProcess(42);
    EXPECT_EQ(mProcess.mNow, 3025000);
    EXPECT_EQ(mProcess.mCalls.back(), "IsRunning(42)");
}

// The look at exactly three seconds isn't the last one.
TEST_F(CProcessServicesTest, AProcessThatStaysIsKilledAfterThreeSeconds)
{
    mProcess.mNow = 500;
    mServices.KillProcess(42);
    Calls expected{"SendSignal(42, 15)", "GetMonotonicMicroSeconds()"};
    for (int i = 0; i < 121; ++i)
        expected.insert(expected.end(),
                        {"Sleep(25000)", "IsRunning(42)", "GetMonotonicMicroSeconds()"});
    expected.emplace_back("SendSignal(42, 9)");
    EXPECT_EQ(mProcess.mCalls, expected);
    EXPECT_EQ(mProcess.mNow, 3025500);
}

TEST_F(CProcessServicesTest, KillAsksTheVirtualOperation)
{
    class CEndsAtThirdLook final : public CProcessServicesImp
    {
    public:
        bool IsProcessRunning(int process) const override
        {
            mLooks.push_back(process);
            return mLooks.size() < 3;
        }

        mutable std::vector<int> mLooks;
    };

    CEndsAtThirdLook const services;
    services.KillProcess(42);
    EXPECT_THAT(services.mLooks, ElementsAre(42, 42, 42));
    EXPECT_EQ(mProcess.mNow, 75000);
    EXPECT_EQ(std::count(mProcess.mCalls.begin(), mProcess.mCalls.end(), "SendSignal(42, 9)"), 0);
}

TEST_F(CProcessServicesTest, ProcessorCountsAreZeroWhereTheSystemDoesNotTell)
{
    struct
    {
        char const* mWhat;
        std::optional<int> mCores;
        std::optional<int> mProcessors;
    } const cases[] = {
        {"both", 4, 8},
        {"no cores", {}, 8},
        {"no processors", 4, {}},
        {"nothing", {}, {}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        mLoad.mCores = c.mCores;
        mLoad.mProcessors = c.mProcessors;
        int physical = -7;
        int logical = -7;
        mServices.GetCPUInfo(physical, logical);
        EXPECT_EQ(physical, c.mCores.value_or(0));
        EXPECT_EQ(logical, c.mProcessors.value_or(0));
    }
}

TEST_F(CProcessServicesTest, FirstSampleOnlyArms)
{
    EXPECT_FALSE(Sample({{1, 2, 3, 4}}, 5, 6));
    EXPECT_THAT(mLoads, IsEmpty());
    EXPECT_EQ(mTotal, -7);
    EXPECT_EQ(mOwn, -7);
    EXPECT_THAT(mLoad.mCalls, ElementsAre("GetHostPort()", "TakeSnapshot(7)", "GetProcessTime()"));
    EXPECT_EQ(mLoad.mHeldSnapshots, 1);
}

TEST_F(CProcessServicesTest, LoadIsTheBusyPartOfWhatPassed)
{
    struct
    {
        char const* mWhat;
        ProcessorTicks mBefore;
        ProcessorTicks mNow;
        float mLoad;
    } const cases[] = {
        {"no tick", {9, 8, 7, 6}, {9, 8, 7, 6}, 0},
        {"idle", {9, 8, 7, 6}, {9, 8, 107, 6}, 0},
        {"user", {0, 0, 0, 0}, {10, 0, 30, 0}, 0.25F},
        {"system", {0, 0, 0, 0}, {0, 10, 30, 0}, 0.25F},
        {"nice", {0, 0, 0, 0}, {0, 0, 30, 10}, 0.25F},
        {"all of them", {1, 1, 1, 1}, {2, 3, 5, 4}, 0.6F},
        {"busy throughout", {1, 1, 1, 1}, {4, 1, 1, 1}, 1},
        {"one of three", {0, 0, 0, 0}, {1, 0, 2, 0}, static_cast<float>(1.0 / 3.0)},
        {"user wrapped", {0xFFFFFFFF, 0, 0, 0}, {1, 0, 2, 0}, 0.5F},
        {"system wrapped", {0, 0xFFFFFFFE, 0, 0}, {0, 0, 6, 0}, 0.25F},
        {"idle wrapped", {0, 0, 0xFFFFFFFD, 0}, {1, 0, 0, 0}, 0.25F},
        {"nice wrapped", {0, 0, 0, 0xFFFFFFFF}, {0, 0, 0, 0}, 1},
        {"as much as can be", {1, 0, 0, 0}, {0, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF}, 0.75F},
    };

    std::vector<ProcessorTicks> before;
    std::vector<ProcessorTicks> now;
    float total = 0;
    for (auto const& c : cases) {
        before.push_back(c.mBefore);
        now.push_back(c.mNow);
        total += c.mLoad;
    }
    EXPECT_FALSE(Sample(before, 0, 0));
    ASSERT_TRUE(Sample(now, 1000, 0));
    ASSERT_EQ(mLoads.size(), std::size(cases));
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE(cases[i].mWhat);
        EXPECT_EQ(mLoads[i], cases[i].mLoad);
    }
    EXPECT_EQ(mTotal, total);
}

TEST_F(CProcessServicesTest, EachSampleIsMeasuredFromTheOneBefore)
{
    EXPECT_FALSE(Sample({{0, 0, 0, 0}, {0, 0, 0, 0}}, 0, 0));
    EXPECT_TRUE(Sample({{10, 0, 0, 0}, {0, 0, 10, 0}}, 1000, 250));
    EXPECT_THAT(mLoads, ElementsAre(1, 0));
    EXPECT_EQ(mTotal, 1);
    EXPECT_EQ(mOwn, 0.25F);
    EXPECT_TRUE(Sample({{10, 0, 10, 0}, {5, 0, 15, 0}}, 3000, 6250));
    EXPECT_THAT(mLoads, ElementsAre(0, 0.5F));
    EXPECT_EQ(mTotal, 0.5F);
    EXPECT_EQ(mOwn, 3);
    // The port is kept, and each snapshot given back once the next has taken its place.
    EXPECT_THAT(mLoad.mCalls,
                ElementsAre("GetHostPort()", "TakeSnapshot(7)", "GetProcessTime()",
                            "TakeSnapshot(7)", "GetProcessTime()", "ReleaseSnapshot(64)",
                            "TakeSnapshot(7)", "GetProcessTime()", "ReleaseSnapshot(64)"));
    EXPECT_EQ(mLoad.mHeldSnapshots, 1);
}

TEST_F(CProcessServicesTest, KeepsDividingByNoTime)
{
    EXPECT_FALSE(Sample({{0, 0, 0, 0}}, 10, 0));
    EXPECT_TRUE(Sample({{0, 0, 0, 0}}, 10, 5));
    EXPECT_THAT(mLoads, ElementsAre(0));
    EXPECT_TRUE(std::isinf(mOwn));
    EXPECT_TRUE(Sample({{0, 0, 0, 0}}, 10, 5));
    EXPECT_TRUE(std::isnan(mOwn));
}

TEST_F(CProcessServicesTest, KeepsGivingBackEightBytesForEachNumber)
{
    {
        CProcessServicesImp const services;
        mLoad.mTicks = {{1, 2, 3, 4}, {1, 2, 3, 4}, {1, 2, 3, 4}};
        services.GetCPUActivity(mTotal, mLoads, mOwn);
    }
    EXPECT_EQ(mLoad.mCalls.back(), "ReleaseSnapshot(96)");
    EXPECT_EQ(mLoad.mHeldSnapshots, 0);
}

TEST_F(CProcessServicesTest, WithoutASampleThereIsNothingToGiveBack)
{
    {
        CProcessServicesImp const services;
    }
    EXPECT_THAT(mLoad.mCalls, IsEmpty());
}

TEST_F(CProcessServicesTest, AFailedSampleChangesNothing)
{
    mLoad.mTicks.reset();
    EXPECT_FALSE(mServices.GetCPUActivity(mTotal, mLoads, mOwn));
    EXPECT_FALSE(Sample({{0, 0, 0, 0}}, 0, 0));

    mLoads = {-7};
    mLoad.mTicks.reset();
    EXPECT_FALSE(mServices.GetCPUActivity(mTotal, mLoads, mOwn));
    EXPECT_THAT(mLoads, IsEmpty());
    mLoads = {-7};
    mLoad.mTicks = {{1, 1, 1, 1}};
    mLoad.mProcessTime.reset();
    EXPECT_FALSE(mServices.GetCPUActivity(mTotal, mLoads, mOwn));
    EXPECT_THAT(mLoads, IsEmpty());
    EXPECT_EQ(mTotal, -7);
    EXPECT_EQ(mOwn, -7);

    EXPECT_TRUE(Sample({{1, 0, 3, 0}}, 10, 10));
    EXPECT_THAT(mLoads, ElementsAre(0.25F));
    EXPECT_EQ(mOwn, 1);
    EXPECT_EQ(mLoad.mHeldSnapshots, 1);
}

TEST_F(CProcessServicesTest, ProcessorsMayComeAndGo)
{
    EXPECT_FALSE(Sample({{0, 0, 0, 0}}, 0, 0));
    EXPECT_TRUE(Sample({{1, 0, 1, 0}, {1, 0, 3, 0}}, 10, 0));
    EXPECT_THAT(mLoads, ElementsAre(0.5F, 0.25F));
    EXPECT_TRUE(Sample({}, 20, 0));
    EXPECT_THAT(mLoads, IsEmpty());
    EXPECT_EQ(mTotal, 0);
}

TEST_F(CProcessServicesTest, FacadeTellsTheLeastAndTheMostBusyProcessor)
{
    CProcessServices const services;
    float least = -7;
    float most = -7;
    int count = -7;
    auto const sample = [&](std::vector<ProcessorTicks> ticks) {
        mLoad.mTicks = std::move(ticks);
        mProcess.mNow += 1000;
        *mLoad.mProcessTime += 500;
        return services.GetCPUActivity(mTotal, least, most, mOwn, count);
    };
    EXPECT_FALSE(sample({{0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}}));
    EXPECT_EQ(least, -7);
    EXPECT_EQ(most, -7);
    EXPECT_EQ(count, -7);

    EXPECT_TRUE(sample({{2, 0, 2, 0}, {1, 0, 3, 0}, {3, 0, 1, 0}}));
    EXPECT_EQ(least, 0.25F);
    EXPECT_EQ(most, 0.75F);
    EXPECT_EQ(count, 3);
    EXPECT_EQ(mTotal, 1.5F);
    EXPECT_EQ(mOwn, 0.5F);

    EXPECT_TRUE(sample({}));
    EXPECT_EQ(least, 1);
    EXPECT_EQ(most, 0);
    EXPECT_EQ(count, 0);
}
