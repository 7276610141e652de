#include "system/CPowerManagmentServicesImp.h"

#include "system/platform/CBasicPowerPlatform.h"

#include <algorithm>
#include <vector>

bool CPowerManagmentServicesImp::HasACPower() const
{
    std::vector<PowerSourceState> const sources = PowerPlatform().GetPowerSources();
    return sources.empty() ||
           std::find(sources.begin(), sources.end(), kPowerSourceOnAC) != sources.end();
}
