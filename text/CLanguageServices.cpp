#include "text/CLanguageServices.h"

#include "foundation/FirstUse.h"
#include "text/platform/CBasicLanguagePlatform.h"

std::atomic<CLanguageServices*> CLanguageServices::sLanguageServices{nullptr};

CLanguageServices::CLanguageServices()
    : mImp(NewLanguageServices())
{
}

CLanguageServices::~CLanguageServices()
{
    delete mImp;
}

CLanguageServices* CLanguageServices::GetLanguageServices()
{
    return GetOrMake(sLanguageServices, [] { return std::make_unique<CLanguageServices>(); });
}
