#include "text/platform/CBasicLanguagePlatform.h"

#include "foundation/FirstUse.h"
#include "text/CLanguageServicesMacOS.h"

#include <atomic>
#include <memory>

namespace {

std::atomic<CBasicLanguagePlatform*> sPlatform{nullptr};

}  // namespace

CBasicLanguagePlatform& LanguagePlatform()
{
    return *GetOrMake(
        sPlatform, [] { return std::unique_ptr<CBasicLanguagePlatform>(NewLanguagePlatform()); });
}

// The system's own platform is made first, so that there always is one to put back.
StLanguagePlatform::StLanguagePlatform(CBasicLanguagePlatform& platform)
    : mFormer(&LanguagePlatform())
{
    sPlatform.store(&platform, std::memory_order_release);
    CLanguageServicesMacOS::ForgetImplementation();
}

StLanguagePlatform::~StLanguagePlatform()
{
    sPlatform.store(mFormer, std::memory_order_release);
    CLanguageServicesMacOS::ForgetImplementation();
}
