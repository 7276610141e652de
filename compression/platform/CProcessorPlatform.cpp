#include "compression/platform/CBasicProcessorPlatform.h"

#include "foundation/FirstUse.h"

#include <atomic>
#include <memory>

namespace {

std::atomic<CBasicProcessorPlatform*> sPlatform{nullptr};

}  // namespace

CBasicProcessorPlatform& ProcessorPlatform()
{
    return *GetOrMake(
        sPlatform, [] { return std::unique_ptr<CBasicProcessorPlatform>(NewProcessorPlatform()); });
}

// The system's own platform is made first, so that there always is one to put back.
StProcessorPlatform::StProcessorPlatform(CBasicProcessorPlatform& platform)
    : mFormer(&ProcessorPlatform())
{
    sPlatform.store(&platform, std::memory_order_release);
}

StProcessorPlatform::~StProcessorPlatform()
{
    sPlatform.store(mFormer, std::memory_order_release);
}
