#include "text/platform/CBasicCharsetPlatform.h"

#include "foundation/FirstUse.h"

#include <atomic>
#include <memory>

namespace {

std::atomic<CBasicCharsetPlatform*> sPlatform{nullptr};

}  // namespace

CBasicCharsetPlatform& CharsetPlatform()
{
    return *GetOrMake(sPlatform,
                      [] { return std::unique_ptr<CBasicCharsetPlatform>(NewCharsetPlatform()); });
}

// The system's own platform is made first, so that there always is one to put back.
StCharsetPlatform::StCharsetPlatform(CBasicCharsetPlatform& platform)
    : mFormer(&CharsetPlatform())
{
    sPlatform.store(&platform, std::memory_order_release);
}

StCharsetPlatform::~StCharsetPlatform()
{
    sPlatform.store(mFormer, std::memory_order_release);
}
