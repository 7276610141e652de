#include "desktop/platform/CBasicDesktopPlatform.h"

#include "foundation/FirstUse.h"

#include <atomic>
#include <memory>

namespace {

std::atomic<CBasicDesktopPlatform*> sPlatform{nullptr};

}  // namespace

CBasicDesktopPlatform& DesktopPlatform()
{
    return *GetOrMake(sPlatform,
                      [] { return std::unique_ptr<CBasicDesktopPlatform>(NewDesktopPlatform()); });
}

// The system's own platform is made first, so that there always is one to put back.
StDesktopPlatform::StDesktopPlatform(CBasicDesktopPlatform& platform)
    : mFormer(&DesktopPlatform())
{
    sPlatform.store(&platform, std::memory_order_release);
}

StDesktopPlatform::~StDesktopPlatform()
{
    sPlatform.store(mFormer, std::memory_order_release);
}
