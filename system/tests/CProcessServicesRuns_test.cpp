// Process control over the system's own platform: real children, real priorities.
#include "files/CFileSpec.h"
#include "system/CProcessServices.h"
#include "system/platform/CBasicBundlePlatform.h"
#include "system/platform/CBasicLoadPlatform.h"
#include "system/platform/CBasicProcessPlatform.h"
#include "system/platform/ProcFiles.h"
#include "testing/Sanitizers.h"
#include "testing/StChildProcess.h"
#include "testing/StEnvironment.h"
#include "testing/StTempDir.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cerrno>
#include <future>
#include <memory>
#include <thread>

#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

namespace {

using testing::Each;
using testing::IsEmpty;
using Imp = CBasicProcessServicesImp;

Imp const& Services()
{
    return *CProcessServices::GetProcessServices()->mImp;
}

int Launch(std::string const& path, std::vector<std::string> const& arguments = {})
{
    return Services().LaunchProcess(CFileSpec(path, false), arguments, false);
}

// Waits for the end of a child and collects it. What it left with, or minus the signal that ended
// it.
int Collect(int process)
{
    int status = 0;
    while (waitpid(process, &status, 0) == -1) {
        if (errno != EINTR) return -1000;
    }
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

// Waits for the end of a child and leaves it uncollected.
void WaitForEnd(int process)
{
    siginfo_t info{};
    while (waitid(P_PID, static_cast<id_t>(process), &info, WEXITED | WNOWAIT) == -1 &&
           errno == EINTR) {}
}

// A script that may be run.
std::string WriteScript(StTempDir const& folder, std::string const& name, std::string const& text)
{
    std::string const path = folder.Write(name, "#!/bin/sh\n" + text);
    chmod(path.c_str(), 0700);
    return path;
}

// The system's own platform, but nobody waits: sleeping moves a clock.
class CHurriedPlatform final : public CBasicProcessPlatform
{
public:
    int SetNice(int nice) override { return mReal->SetNice(nice); }

    bool IsRunning(int process) const override { return mReal->IsRunning(process); }

    int Spawn(char const* path, char const* const* arguments, int& process) override
    {
        return mReal->Spawn(path, arguments, process);
    }

    long long GetMonotonicMicroSeconds() const override { return mNow; }

    void Sleep(double seconds) override { mNow += static_cast<long long>(seconds * 1000000); }

    bool GetBootTime(long& seconds) const override { return mReal->GetBootTime(seconds); }

private:
    std::unique_ptr<CBasicProcessPlatform> mReal{NewProcessPlatform()};
    long long mNow = 0;
};

int ThisThread()
{
    return static_cast<int>(syscall(SYS_gettid));
}

int NiceOf(int thread)
{
    return getpriority(PRIO_PROCESS, static_cast<id_t>(thread));
}

}  // namespace

TEST(CProcessServicesRuns, AChildGetsItsPathAndItsArguments)
{
    StTempDir const folder;
    std::string const result = folder.Path("result");
    std::string const script = WriteScript(folder, "show it",
                                           "result=$1\nshift\n"
                                           "printf '%s|' \"$0\" \"$@\" >\"$result\"\n");
    int const child =
        Launch(script, {result, "two words", "", "\"'$HOME\\", "\xC3\xA4", "line\nend"});
    ASSERT_GT(child, 0);
    EXPECT_EQ(Collect(child), 0);
    EXPECT_EQ(folder.Read("result"), script + "|two words||\"'$HOME\\|\xC3\xA4|line\nend|");
}

TEST(CProcessServicesRuns, AProgramMayHaveAnyName)
{
    StTempDir const folder;
    char const* const names[] = {"a b",      "a) Z 1 (b", "\xC3\xA4", "$x;y",
                                 "tool.app", "TOOL.APP",  ".app"};
    for (char const* const name : names) {
        SCOPED_TRACE(name);
        int const child = Launch(WriteScript(folder, name, "exit 7\n"));
        ASSERT_GT(child, 0);
        EXPECT_EQ(Collect(child), 7);
    }
}

TEST(CProcessServicesRuns, AChildHasTheEnvironment)
{
    StTempDir const folder;
    StEnvironment const variable("LOAM_PROCESS_TEST", "to be passed on");
    int const child = Launch(
        "/bin/sh", {"-c", "printf %s \"$LOAM_PROCESS_TEST\" >\"$0\"", folder.Path("result")});
    ASSERT_GT(child, 0);
    EXPECT_EQ(Collect(child), 0);
    EXPECT_EQ(folder.Read("result"), "to be passed on");
}

TEST(CProcessServicesRuns, WhatIsNoProgramIsZero)
{
    StTempDir const folder;
    std::string const notMarked = folder.Write("not marked", "#!/bin/sh\n");
    std::string const noFormat = folder.Write("no format", "exit 7\n");
    chmod(noFormat.c_str(), 0700);

    struct
    {
        char const* mWhat;
        std::string mPath;
    } const cases[] = {
        {"nothing there", folder.Path("none")},
        {"a folder", folder.Path()},
        {"a folder named as an application", folder.MakeFolder("Read.app")},
        {"not marked as a program", notMarked},
        {"in no known format", noFormat},
        {"a name to search for", "sh"},
        {"no path", ""},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(Launch(c.mPath), 0);
    }
}

TEST(CProcessServicesRuns, KnowsWhichProcessesRun)
{
    EXPECT_TRUE(Services().IsProcessRunning(getpid()));
    EXPECT_TRUE(Services().IsProcessRunning(getppid()));
    EXPECT_TRUE(Services().IsProcessRunning(0));
    EXPECT_FALSE(Services().IsProcessRunning(-1));
    EXPECT_FALSE(Services().IsProcessRunning(2147483647));
}

TEST(CProcessServicesRuns, AnEndedChildThatNobodyCollectedIsNotRunning)
{
    StTempDir const folder;
    int const child = Launch(WriteScript(folder, "a) S (b", "exit 3\n"));
    ASSERT_GT(child, 0);
    WaitForEnd(child);
    EXPECT_FALSE(Services().IsProcessRunning(child));
    // It was only looked at: it still has its group, and can be collected.
    EXPECT_NE(getpgid(child), -1);
    EXPECT_EQ(Collect(child), 3);
    EXPECT_FALSE(Services().IsProcessRunning(child));
}

TEST(CProcessServicesRuns, AProcessRunsOnWithoutItsFirstThread)
{
    if (kIsThreadSanitized)
        GTEST_SKIP() << "who watches for races doesn't expect a thread to go like this";
    StChildProcess child([](CTestLink& parent) {
        std::thread([&parent] {
            while (ReadProcFile("/proc/self/stat").find(") Z ") == std::string::npos)
                std::this_thread::yield();
            parent.Say("alone");
            parent.Hear();
            _exit(0);
        }).detach();
        // Without unwinding, which would end the process.
        syscall(SYS_exit, 0);
    });
    ASSERT_EQ(child.Hear(), "alone");
    EXPECT_TRUE(Services().IsProcessRunning(child.Id()));
    child.Say("go");
    EXPECT_EQ(child.WaitForEnd(), 0);
    EXPECT_FALSE(Services().IsProcessRunning(child.Id()));
}

TEST(CProcessServicesRuns, KillEndsAChildBySigtermAtOnce)
{
    StChildProcess child([](CTestLink& parent) { parent.Hear(); });
    Services().KillProcess(child.Id());
    EXPECT_FALSE(Services().IsProcessRunning(child.Id()));
    EXPECT_EQ(child.WaitForEnd(), SIGTERM);
}

TEST(CProcessServicesRuns, KillEndsAChildThatIgnoresSigterm)
{
    StChildProcess child([](CTestLink& parent) {
        signal(SIGTERM, SIG_IGN);
        parent.Say("ready");
        parent.Hear();
    });
    ASSERT_EQ(child.Hear(), "ready");
    CHurriedPlatform platform;
    StProcessPlatform const inUse(platform);
    Services().KillProcess(child.Id());
    EXPECT_EQ(child.WaitForEnd(), SIGKILL);
}

TEST(CProcessServicesRuns, KillOfWhatIsNotThereReturns)
{
    CHurriedPlatform platform;
    StProcessPlatform const inUse(platform);
    Services().KillProcess(2147483647);
    EXPECT_EQ(platform.GetMonotonicMicroSeconds(), 25000);
}

TEST(CProcessServicesRuns, ChildrenLeaveNothingBehindIfTheyAreNotToBeCollected)
{
    StChildProcess child([](CTestLink& parent) {
        Services().PreventChildZombies();
        int const grandchild = Launch("/bin/true");
        // Blocks until it has ended, and then finds nothing to collect.
        bool const isCollected = waitpid(grandchild, nullptr, 0) != -1 || errno != ECHILD;
        parent.Say(grandchild == 0            ? "no grandchild"
                   : isCollected              ? "collected"
                   : getpgid(grandchild) >= 0 ? "still there"
                                              : "gone");
    });
    EXPECT_EQ(child.Hear(), "gone");
}

TEST(CProcessServicesRuns, PriorityIsThatOfEveryThread)
{
    constexpr int kThreads = 4;
    int const before = NiceOf(0);
    if (before > 10) GTEST_SKIP() << "this process has a low priority already";
    std::promise<void> end;
    std::shared_future<void> const ended(end.get_future());
    std::atomic<int> ids[kThreads] = {};
    std::vector<std::thread> threads;
    for (std::atomic<int>& id : ids) {
        threads.emplace_back([&id, ended] {
            id = ThisThread();
            id.notify_one();
            ended.wait();
        });
        id.wait(0);
    }

    EXPECT_EQ(Services().SetPriority(Imp::kPriorityLow), 0);
    EXPECT_EQ(Services().GetPriority(), Imp::kPriorityLow);
    std::vector<int> nices{NiceOf(getpid()), NiceOf(ThisThread())};
    for (int const id : ids)
        nices.push_back(NiceOf(id));
    std::thread([&nices] { nices.push_back(NiceOf(ThisThread())); }).join();
    EXPECT_THAT(nices, Each(10));

    // The lowest one is cut by the system and reads back as the one above.
    EXPECT_EQ(Services().SetPriority(Imp::kPriorityLowest), 0);
    EXPECT_EQ(NiceOf(ids[0]), 19);
    EXPECT_EQ(Services().GetPriority(), Imp::kPriorityLow);

    end.set_value();
    for (std::thread& thread : threads)
        thread.join();
    // Granted to root alone.
    ProcessPlatform().SetNice(before);
}

TEST(CProcessServicesRuns, AHigherPriorityIsRefusedToAnOrdinaryUser)
{
    rlimit limit{};
    getrlimit(RLIMIT_NICE, &limit);
    if (geteuid() == 0 || limit.rlim_cur > 0) GTEST_SKIP() << "this user may have any priority";
    int const nice = NiceOf(0);
    EXPECT_EQ(Services().SetPriority(Imp::kPriorityHighest), -1);
    EXPECT_EQ(NiceOf(0), nice);
}

TEST(CProcessServicesRuns, AHigherPriorityIsGrantedToRoot)
{
    int const nice = NiceOf(0);
    if (Services().SetPriority(Imp::kPriorityHigh) != 0) GTEST_SKIP() << "this user may not";
    EXPECT_EQ(NiceOf(0), -10);
    EXPECT_EQ(Services().GetPriority(), Imp::kPriorityHighest);
    ProcessPlatform().SetNice(nice);
    EXPECT_EQ(NiceOf(0), nice);
}

TEST(CProcessServicesRuns, TheSystemWasStartedInThePast)
{
    long const start = Services().GetBootTime();
    if (start == -1) GTEST_SKIP() << "this system doesn't tell when it was started";
    EXPECT_GT(start, 0);
    EXPECT_LE(start, time(nullptr));
}

TEST(CProcessServicesRuns, ThereAreAtLeastAsManyProcessorsAsCores)
{
    int physical = -7;
    int logical = -7;
    Services().GetCPUInfo(physical, logical);
    EXPECT_GE(physical, 0);
    EXPECT_GE(logical, physical);
    EXPECT_EQ(access("/sys/devices/system/cpu/cpu0", F_OK) == 0, logical > 0);
}

TEST(CProcessServicesRuns, LoadIsAFractionOfEachProcessor)
{
    if (access("/proc/stat", R_OK) != 0) GTEST_SKIP() << "this system doesn't count ticks";
    CProcessServices const services;
    float total = -7;
    float own = -7;
    std::vector<float> loads{-7};
    EXPECT_FALSE(services.mImp->GetCPUActivity(total, loads, own));
    EXPECT_THAT(loads, IsEmpty());
    EXPECT_EQ(total, -7);
    EXPECT_EQ(own, -7);
    ASSERT_TRUE(services.mImp->GetCPUActivity(total, loads, own));
    EXPECT_FALSE(loads.empty());
    EXPECT_THAT(loads, Each(testing::AllOf(testing::Ge(0), testing::Le(1))));
    EXPECT_GE(own, 0);
}

TEST(CProcessServicesRuns, TheDesktopsOwnOperationsAreNotOffered)
{
    EXPECT_FALSE(Services().SetDaemonMode(true));
    EXPECT_FALSE(Services().SetDaemonMode(false));
    EXPECT_FALSE(Services().ChangeProcessName("reader"));
}

TEST(CProcessServicesRuns, GuardsPutTheFormerPlatformsBack)
{
    CBasicProcessPlatform const* const process = &ProcessPlatform();
    CBasicLoadPlatform const* const load = &LoadPlatform();
    CBasicBundlePlatform const* const bundle = &BundlePlatform();
    {
        CHurriedPlatform hurried;
        StProcessPlatform const inUse(hurried);
        EXPECT_EQ(&ProcessPlatform(), &hurried);
        std::unique_ptr<CBasicLoadPlatform> const otherLoad(NewLoadPlatform());
        StLoadPlatform const loadInUse(*otherLoad);
        EXPECT_EQ(&LoadPlatform(), otherLoad.get());
        std::unique_ptr<CBasicBundlePlatform> const otherBundle(NewBundlePlatform());
        StBundlePlatform const bundleInUse(*otherBundle);
        EXPECT_EQ(&BundlePlatform(), otherBundle.get());
    }
    EXPECT_EQ(&ProcessPlatform(), process);
    EXPECT_EQ(&LoadPlatform(), load);
    EXPECT_EQ(&BundlePlatform(), bundle);
}
