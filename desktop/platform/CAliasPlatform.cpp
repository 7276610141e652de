#include "desktop/platform/CBasicAliasPlatform.h"

#include "foundation/FirstUse.h"

#include <atomic>
#include <memory>

namespace {

std::atomic<CBasicAliasPlatform*> sPlatform{nullptr};

}  // namespace

CBasicAliasPlatform& AliasPlatform()
{
    return *GetOrMake(sPlatform,
                      [] { return std::unique_ptr<CBasicAliasPlatform>(NewAliasPlatform()); });
}

// The system's own platform is made first, so that there always is one to put back.
StAliasPlatform::StAliasPlatform(CBasicAliasPlatform& platform)
    : mFormer(&AliasPlatform())
{
    sPlatform.store(&platform, std::memory_order_release);
}

StAliasPlatform::~StAliasPlatform()
{
    sPlatform.store(mFormer, std::memory_order_release);
}
