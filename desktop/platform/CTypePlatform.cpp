#include "desktop/platform/CBasicTypePlatform.h"

#include "foundation/FirstUse.h"

#include <atomic>
#include <memory>

namespace {

std::atomic<CBasicTypePlatform*> sPlatform{nullptr};

}  // namespace

CBasicTypePlatform& TypePlatform()
{
    return *GetOrMake(sPlatform,
                      [] { return std::unique_ptr<CBasicTypePlatform>(NewTypePlatform()); });
}

// The system's own platform is made first, so that there always is one to put back.
StTypePlatform::StTypePlatform(CBasicTypePlatform& platform)
    : mFormer(&TypePlatform())
{
    sPlatform.store(&platform, std::memory_order_release);
}

StTypePlatform::~StTypePlatform()
{
    sPlatform.store(mFormer, std::memory_order_release);
}
