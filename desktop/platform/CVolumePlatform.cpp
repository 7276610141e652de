#include "desktop/platform/CBasicVolumePlatform.h"

#include "foundation/FirstUse.h"

#include <atomic>
#include <memory>

namespace {

std::atomic<CBasicVolumePlatform*> sPlatform{nullptr};

}  // namespace

CBasicVolumePlatform& VolumePlatform()
{
    return *GetOrMake(sPlatform,
                      [] { return std::unique_ptr<CBasicVolumePlatform>(NewVolumePlatform()); });
}

// The system's own platform is made first, so that there always is one to put back.
StVolumePlatform::StVolumePlatform(CBasicVolumePlatform& platform)
    : mFormer(&VolumePlatform())
{
    sPlatform.store(&platform, std::memory_order_release);
}

StVolumePlatform::~StVolumePlatform()
{
    sPlatform.store(mFormer, std::memory_order_release);
}
