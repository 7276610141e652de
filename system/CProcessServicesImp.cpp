#include "system/CProcessServicesImp.h"

#include "files/CFileSpec.h"
#include "system/platform/CBasicBundlePlatform.h"
#include "system/platform/CBasicProcessPlatform.h"

#include <iterator>
#include <string_view>

#include <signal.h>
#include <unistd.h>

namespace {

constexpr int kNiceOfPriority[] = {20, 10, 0, -10, -20};

constexpr double kSecondsBetweenLooks = 0.025;
constexpr long long kGraceMicroSeconds = 3000000;

bool IsNamedAsApplication(std::string_view path)
{
    constexpr std::string_view kSuffix = ".app";
    std::string_view const name = path.substr(path.rfind('/') + 1);
    return name.size() >= kSuffix.size() && name.substr(name.size() - kSuffix.size()) == kSuffix;
}

// A program's path, or that of the program inside an application.
std::string PathOfExecutable(CFileSpec const& program)
{
    std::string path;
    program.GetFullPath8bit(&path);
    std::string executable;
    if (IsNamedAsApplication(path) && BundlePlatform().GetExecutable(path.c_str(), executable))
        return executable;
    return path;
}

}  // namespace

int CProcessServicesImp::SetPriority(Priority priority) const
{
    return ProcessPlatform().SetNice(
        priority < std::size(kNiceOfPriority) ? kNiceOfPriority[priority] : 0);
}

// Kept on purpose: not the way back of `SetPriority`. -10 is the highest priority here, and so is
// the -1 of a failure.
CBasicProcessServicesImp::Priority CProcessServicesImp::GetPriority() const
{
    struct
    {
        int mLeastNice;
        Priority mPriority;
    } constexpr kRows[] = {
        {20, kPriorityLowest},
        {1, kPriorityLow},
        {0, kPriorityNormal},
        {-20, kPriorityHighest},
    };

    int const nice = ProcessPlatform().GetNice();
    for (auto const& row : kRows) {
        if (nice >= row.mLeastNice) return row.mPriority;
    }
    return kPriorityHigh;
}

void CProcessServicesImp::EnableCrashUserAlerts(bool) const {}

void CProcessServicesImp::PreventChildZombies() const
{
    signal(SIGCHLD, SIG_IGN);
}

int CProcessServicesImp::LaunchProcess(CFileSpec const& program,
                                       std::vector<std::string> const& arguments,
                                       bool) const
{
    std::string const path = PathOfExecutable(program);
    std::vector<char const*> texts;
    texts.reserve(arguments.size() + 2);
    texts.push_back(path.c_str());
    for (std::string const& argument : arguments)
        texts.push_back(argument.c_str());
    texts.push_back(nullptr);

    int process = 0;
    return ProcessPlatform().Spawn(path.c_str(), texts.data(), process) == 0 ? process : 0;
}

int CProcessServicesImp::GetCurrentProcess() const
{
    return getpid();
}

long CProcessServicesImp::GetBootTime() const
{
    long seconds = -1;
    ProcessPlatform().GetBootTime(seconds);
    return seconds;
}

bool CProcessServicesImp::IsProcessRunning(int process) const
{
    return ProcessPlatform().IsRunning(process);
}

void CProcessServicesImp::KillProcess(int process) const
{
    CBasicProcessPlatform& platform = ProcessPlatform();
    platform.SendSignal(process, SIGTERM);
    long long const start = platform.GetMonotonicMicroSeconds();
    do {
        platform.Sleep(kSecondsBetweenLooks);
        if (!IsProcessRunning(process)) return;
    } while (platform.GetMonotonicMicroSeconds() <= start + kGraceMicroSeconds);
    platform.SendSignal(process, SIGKILL);
}
