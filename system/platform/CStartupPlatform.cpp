#include "system/platform/CBasicStartupPlatform.h"

#include "foundation/FirstUse.h"

#include <atomic>
#include <memory>

namespace {

std::atomic<CBasicStartupPlatform*> sPlatform{nullptr};

}  // namespace

CBasicStartupPlatform& StartupPlatform()
{
    return *GetOrMake(sPlatform,
                      [] { return std::unique_ptr<CBasicStartupPlatform>(NewStartupPlatform()); });
}

// The system's own platform is made first, so that there always is one to put back.
StStartupPlatform::StStartupPlatform(CBasicStartupPlatform& platform)
    : mFormer(&StartupPlatform())
{
    sPlatform.store(&platform, std::memory_order_release);
}

StStartupPlatform::~StStartupPlatform()
{
    sPlatform.store(mFormer, std::memory_order_release);
}
