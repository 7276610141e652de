#include "system/platform/CBasicBundlePlatform.h"

#include "foundation/FirstUse.h"

#include <atomic>
#include <memory>

namespace {

std::atomic<CBasicBundlePlatform*> sPlatform{nullptr};

}  // namespace

CBasicBundlePlatform& BundlePlatform()
{
    return *GetOrMake(sPlatform,
                      [] { return std::unique_ptr<CBasicBundlePlatform>(NewBundlePlatform()); });
}

// The system's own platform is made first, so that there always is one to put back.
StBundlePlatform::StBundlePlatform(CBasicBundlePlatform& platform)
    : mFormer(&BundlePlatform())
{
    sPlatform.store(&platform, std::memory_order_release);
}

StBundlePlatform::~StBundlePlatform()
{
    sPlatform.store(mFormer, std::memory_order_release);
}
