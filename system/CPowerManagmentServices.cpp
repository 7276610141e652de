#include "system/CPowerManagmentServices.h"

#include "foundation/FirstUse.h"
#include "system/CPowerManagmentServicesImp.h"

std::atomic<CPowerManagmentServices*> CPowerManagmentServices::sPowerManagmentServices{nullptr};

CPowerManagmentServices::CPowerManagmentServices()
    : mImp(new CPowerManagmentServicesImp)
{
}

CPowerManagmentServices::~CPowerManagmentServices()
{
    delete mImp;
}

CPowerManagmentServices* CPowerManagmentServices::GetPowerManagmentServices()
{
    return GetOrMake(sPowerManagmentServices,
                     [] { return std::make_unique<CPowerManagmentServices>(); });
}
