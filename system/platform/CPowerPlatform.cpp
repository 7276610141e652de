#include "system/platform/CBasicPowerPlatform.h"

#include "foundation/FirstUse.h"

#include <atomic>
#include <memory>

namespace {

std::atomic<CBasicPowerPlatform*> sPlatform{nullptr};

}  // namespace

CBasicPowerPlatform& PowerPlatform()
{
    return *GetOrMake(sPlatform,
                      [] { return std::unique_ptr<CBasicPowerPlatform>(NewPowerPlatform()); });
}

// The system's own platform is made first, so that there always is one to put back.
StPowerPlatform::StPowerPlatform(CBasicPowerPlatform& platform)
    : mFormer(&PowerPlatform())
{
    sPlatform.store(&platform, std::memory_order_release);
}

StPowerPlatform::~StPowerPlatform()
{
    sPlatform.store(mFormer, std::memory_order_release);
}
