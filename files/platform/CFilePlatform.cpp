#include "files/platform/CBasicFilePlatform.h"
#include "foundation/FirstUse.h"

#include <atomic>
#include <memory>

namespace {

std::atomic<CBasicFilePlatform*> sPlatform{nullptr};

}  // namespace

CBasicFilePlatform& FilePlatform()
{
    return *GetOrMake(sPlatform,
                      [] { return std::unique_ptr<CBasicFilePlatform>(NewFilePlatform()); });
}

// The system's own platform is made first, so that there always is one to put back.
StFilePlatform::StFilePlatform(CBasicFilePlatform& platform)
    : mFormer(&FilePlatform())
{
    sPlatform.store(&platform, std::memory_order_release);
}

StFilePlatform::~StFilePlatform()
{
    sPlatform.store(mFormer, std::memory_order_release);
}
