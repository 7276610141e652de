#include "system/platform/CBasicProcessPlatform.h"

#include "system/platform/ProcFiles.h"

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string>

#include <dirent.h>
#include <spawn.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

struct CloseFolder
{
    void operator()(DIR* folder) const { closedir(folder); }
};

// Brings all threads of the process to `nice`, and tells how many were elsewhere; -1 with `errno`
// if the system refuses. A thread that ends meanwhile is none.
int SetThreads(int nice)
{
    std::unique_ptr<DIR, CloseFolder> const folder(opendir("/proc/self/task"));
    int changed = 0;
    while (dirent const* const entry = folder ? readdir(folder.get()) : nullptr) {
        auto const thread = static_cast<id_t>(std::strtoul(entry->d_name, nullptr, 10));
        if (thread == 0) continue;  // "." and ".."
        errno = 0;
        if (getpriority(PRIO_PROCESS, thread) == nice && errno == 0) continue;
        if (setpriority(PRIO_PROCESS, thread, nice) == 0)
            ++changed;
        else if (errno != ESRCH)
            return -1;
    }
    return changed;
}

class CProcessPlatformLinux final : public CBasicProcessPlatform
{
public:
    // The kernel takes the calling thread for the process, so each thread is set by itself. One
    // that a thread starts which wasn't reached by then is found in another round.
    int SetNice(int nice) override
    {
        constexpr int kMostRounds = 8;
        if (setpriority(PRIO_PROCESS, 0, nice) != 0) return -1;
        int const granted = getpriority(PRIO_PROCESS, 0);
        int changed = 1;
        for (int round = 0; changed > 0 && round < kMostRounds; ++round)
            changed = SetThreads(granted);
        return changed == -1 ? -1 : 0;
    }

    // A process that waits to be collected still has its group.
    bool IsRunning(int process) const override
    {
        return getpgid(process) != -1 &&
               !HasEnded(ReadProcFile(("/proc/" + std::to_string(process) + "/stat").c_str()));
    }

    int Spawn(char const* path, char const* const* arguments, int& process) override
    {
        return posix_spawn(&process, path, nullptr, nullptr, const_cast<char* const*>(arguments),
                           environ);
    }

    bool GetBootTime(long& seconds) const override
    {
        return FindBootTime(ReadProcFile("/proc/stat"), seconds);
    }
};

}  // namespace

CBasicProcessPlatform* NewProcessPlatform()
{
    return new CProcessPlatformLinux;
}
