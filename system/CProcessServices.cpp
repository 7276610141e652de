#include "system/CProcessServices.h"

#include "foundation/FirstUse.h"
#include "system/CProcessServicesImp.h"

std::atomic<CProcessServices*> CProcessServices::sProcessServices{nullptr};

CProcessServices::CProcessServices()
    : mImp(new CProcessServicesImp)
{
}

CProcessServices::~CProcessServices()
{
    delete mImp;
}

CProcessServices* CProcessServices::GetProcessServices()
{
    return GetOrMake(sProcessServices, [] { return std::make_unique<CProcessServices>(); });
}
