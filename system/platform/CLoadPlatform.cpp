#include "system/platform/CBasicLoadPlatform.h"

#include "foundation/FirstUse.h"

#include <atomic>
#include <memory>

#include <sys/resource.h>

namespace {

std::atomic<CBasicLoadPlatform*> sPlatform{nullptr};

}  // namespace

bool CBasicLoadPlatform::GetProcessTime(long long& microSeconds) const
{
    rusage usage{};
    if (getrusage(RUSAGE_SELF, &usage) != 0) return false;
    microSeconds = (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1000000LL +
                   usage.ru_utime.tv_usec + usage.ru_stime.tv_usec;
    return true;
}

CBasicLoadPlatform& LoadPlatform()
{
    return *GetOrMake(sPlatform,
                      [] { return std::unique_ptr<CBasicLoadPlatform>(NewLoadPlatform()); });
}

// The system's own platform is made first, so that there always is one to put back.
StLoadPlatform::StLoadPlatform(CBasicLoadPlatform& platform)
    : mFormer(&LoadPlatform())
{
    sPlatform.store(&platform, std::memory_order_release);
}

StLoadPlatform::~StLoadPlatform()
{
    sPlatform.store(mFormer, std::memory_order_release);
}
