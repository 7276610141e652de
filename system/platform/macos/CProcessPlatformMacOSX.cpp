#include "system/platform/CBasicProcessPlatform.h"

#include <iterator>

#include <crt_externs.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/sysctl.h>
#include <unistd.h>

namespace {

class CProcessPlatformMacOSX final : public CBasicProcessPlatform
{
public:
    int SetNice(int nice) override { return setpriority(PRIO_PROCESS, 0, nice); }

    bool IsRunning(int process) const override { return getpgid(process) != -1; }

    int Spawn(char const* path, char const* const* arguments, int& process) override
    {
        return posix_spawn(&process, path, nullptr, nullptr, const_cast<char* const*>(arguments),
                           *_NSGetEnviron());
    }

    bool GetBootTime(long& seconds) const override
    {
        int name[] = {CTL_KERN, KERN_BOOTTIME};
        timeval start{};
        size_t size = sizeof start;
        if (sysctl(name, std::size(name), &start, &size, nullptr, 0) != 0) return false;
        seconds = start.tv_sec;
        return true;
    }
};

}  // namespace

CBasicProcessPlatform* NewProcessPlatform()
{
    return new CProcessPlatformMacOSX;
}
