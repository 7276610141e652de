#include "system/platform/CBasicProcessPlatform.h"

#include "concurrency/CThread.h"
#include "foundation/FirstUse.h"
#include "system/CDateTimeServices.h"

#include <atomic>
#include <memory>

#include <signal.h>
#include <sys/resource.h>

namespace {

std::atomic<CBasicProcessPlatform*> sPlatform{nullptr};

}  // namespace

int CBasicProcessPlatform::GetNice() const
{
    return getpriority(PRIO_PROCESS, 0);
}

void CBasicProcessPlatform::SendSignal(int process, int signal)
{
    kill(process, signal);
}

long long CBasicProcessPlatform::GetMonotonicMicroSeconds() const
{
    return CDateTimeServices::GetDateTimeServices()->GetMonotonicMicroSeconds();
}

void CBasicProcessPlatform::Sleep(double seconds)
{
    CThread::Sleep(seconds);
}

CBasicProcessPlatform& ProcessPlatform()
{
    return *GetOrMake(sPlatform,
                      [] { return std::unique_ptr<CBasicProcessPlatform>(NewProcessPlatform()); });
}

// The system's own platform is made first, so that there always is one to put back.
StProcessPlatform::StProcessPlatform(CBasicProcessPlatform& platform)
    : mFormer(&ProcessPlatform())
{
    sPlatform.store(&platform, std::memory_order_release);
}

StProcessPlatform::~StProcessPlatform()
{
    sPlatform.store(mFormer, std::memory_order_release);
}
