#include "security/platform/CBasicPwdDBPlatform.h"

#include "foundation/FirstUse.h"

#include <atomic>
#include <memory>

namespace {

std::atomic<CBasicPwdDBPlatform*> sPlatform{nullptr};

}  // namespace

CBasicPwdDBPlatform& PwdDBPlatform()
{
    return *GetOrMake(sPlatform,
                      [] { return std::unique_ptr<CBasicPwdDBPlatform>(NewPwdDBPlatform()); });
}

// The system's own platform is made first, so that there always is one to put back.
StPwdDBPlatform::StPwdDBPlatform(CBasicPwdDBPlatform& platform)
    : mFormer(&PwdDBPlatform())
{
    sPlatform.store(&platform, std::memory_order_release);
}

StPwdDBPlatform::~StPwdDBPlatform()
{
    sPlatform.store(mFormer, std::memory_order_release);
}
