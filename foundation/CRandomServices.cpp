#include "foundation/CRandomServices.h"

#include "foundation/CRandomServicesImp.h"
#include "foundation/FirstUse.h"

std::atomic<CRandomServices*> CRandomServices::sRandomServices{nullptr};

CRandomServices::CRandomServices()
    : mImp(new CRandomServicesImp)
{
}

CRandomServices::~CRandomServices()
{
    delete mImp;
}

CRandomServices* CRandomServices::GetRandomServices()
{
    bool isMaker = false;
    CRandomServices* const services = GetOrMake(
        sRandomServices, [] { return std::make_unique<CRandomServices>(); }, &isMaker);
    if (isMaker) services->mImp->Initialize();
    return services;
}
