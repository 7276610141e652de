#include "net/platform/CBasicNetServicePlatform.h"

#include "foundation/FirstUse.h"

#include <atomic>
#include <memory>

namespace {

std::atomic<CBasicNetServicePlatform*> sPlatform{nullptr};

}  // namespace

CBasicNetServicePlatform& NetServicePlatform()
{
    return *GetOrMake(sPlatform, [] {
        return std::unique_ptr<CBasicNetServicePlatform>(NewNetServicePlatform());
    });
}

// The system's own platform is made first, so that there always is one to put back.
StNetServicePlatform::StNetServicePlatform(CBasicNetServicePlatform& platform)
    : mFormer(&NetServicePlatform())
{
    sPlatform.store(&platform, std::memory_order_release);
}

StNetServicePlatform::~StNetServicePlatform()
{
    sPlatform.store(mFormer, std::memory_order_release);
}
