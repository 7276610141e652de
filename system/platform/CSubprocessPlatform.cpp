#include "foundation/FirstUse.h"
#include "system/ExecuteSubprocess.h"
#include "system/platform/CBasicSubprocessPlatform.h"

#include <atomic>

#include <sys/time.h>
#include <unistd.h>

namespace {

constexpr long long kMicroSecondsPerSecond = 1000000;

std::atomic<CBasicSubprocessPlatform*> sPlatform{nullptr};

}  // namespace

long long safeWaitGetCurrentMicroTime()
{
    timeval now{};
    gettimeofday(&now, nullptr);
    return static_cast<long long>(now.tv_sec) * kMicroSecondsPerSecond + now.tv_usec;
}

long long CBasicSubprocessPlatform::GetMicroTime() const
{
    return safeWaitGetCurrentMicroTime();
}

bool CBasicSubprocessPlatform::HasProcess(int process) const
{
    return getpgid(process) != -1;
}

CBasicSubprocessPlatform& SubprocessPlatform()
{
    return *GetOrMake(sPlatform, [] {
        return std::unique_ptr<CBasicSubprocessPlatform>(NewSubprocessPlatform());
    });
}

// The system's own platform is made first, so that there always is one to put back.
StSubprocessPlatform::StSubprocessPlatform(CBasicSubprocessPlatform& platform)
    : mFormer(&SubprocessPlatform())
{
    sPlatform.store(&platform, std::memory_order_release);
}

StSubprocessPlatform::~StSubprocessPlatform()
{
    sPlatform.store(mFormer, std::memory_order_release);
}
