#include "system/CProcessServices.h"

#include "foundation/FirstUse.h"
#include "system/CProcessServicesImp.h"

#include <vector>

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

bool CProcessServices::GetCPUActivity(float& totalLoad,
                                      float& minProcessorLoad,
                                      float& maxProcessorLoad,
                                      float& processLoad,
                                      int& processorCount) const
{
    std::vector<float> loads;
    if (!mImp->GetCPUActivity(totalLoad, loads, processLoad)) return false;
    minProcessorLoad = 1.0F;
    maxProcessorLoad = 0;
    processorCount = static_cast<int>(loads.size());
    for (float const load : loads) {
        if (load < minProcessorLoad) minProcessorLoad = load;
        if (load > maxProcessorLoad) maxProcessorLoad = load;
    }
    return true;
}
