#include "system/platform/CBasicDateTimePlatform.h"

#include "foundation/FirstUse.h"
#include "system/CDateTimeServicesImp.h"

#include <atomic>
#include <memory>

namespace {

std::atomic<CBasicDateTimePlatform*> sPlatform{nullptr};

}  // namespace

CBasicDateTimePlatform& DateTimePlatform()
{
    return *GetOrMake(
        sPlatform, [] { return std::unique_ptr<CBasicDateTimePlatform>(NewDateTimePlatform()); });
}

// The system's own platform is made first, so that there always is one to put back.
StDateTimePlatform::StDateTimePlatform(CBasicDateTimePlatform& platform)
    : mFormer(&DateTimePlatform())
{
    sPlatform.store(&platform, std::memory_order_release);
    CDateTimeServicesImp::ForgetDebugTimeOffset();
}

StDateTimePlatform::~StDateTimePlatform()
{
    sPlatform.store(mFormer, std::memory_order_release);
    CDateTimeServicesImp::ForgetDebugTimeOffset();
}
