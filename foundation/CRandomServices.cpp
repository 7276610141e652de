#include "foundation/CRandomServices.h"

#include "foundation/CRandomServicesImp.h"
#include "foundation/FirstUse.h"
#include "system/CProcessServices.h"

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
        sRandomServices,
        [] {
            // What seeding needs. Made first, so that a failure leaves no instance unseeded.
            CProcessServices::GetProcessServices();
            return std::make_unique<CRandomServices>();
        },
        &isMaker);
    if (isMaker) services->mImp->Initialize();
    return services;
}
