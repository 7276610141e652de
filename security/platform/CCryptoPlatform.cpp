#include "security/platform/CBasicCryptoPlatform.h"

#include "foundation/FirstUse.h"

#include <atomic>
#include <memory>

namespace {

std::atomic<CBasicCryptoPlatform*> sPlatform{nullptr};

}  // namespace

CBasicCryptoPlatform& CryptoPlatform()
{
    return *GetOrMake(sPlatform,
                      [] { return std::unique_ptr<CBasicCryptoPlatform>(NewCryptoPlatform()); });
}

// The system's own platform is made first, so that there always is one to put back.
StCryptoPlatform::StCryptoPlatform(CBasicCryptoPlatform& platform)
    : mFormer(&CryptoPlatform())
{
    sPlatform.store(&platform, std::memory_order_release);
}

StCryptoPlatform::~StCryptoPlatform()
{
    sPlatform.store(mFormer, std::memory_order_release);
}
