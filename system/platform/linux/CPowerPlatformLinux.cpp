#include "system/platform/CBasicPowerPlatform.h"

#include "system/platform/PowerSupplies.h"

namespace {

class CPowerPlatformLinux final : public CBasicPowerPlatform
{
public:
    std::vector<PowerSourceState> GetPowerSources() const override
    {
        return ReadPowerSupplies("/sys/class/power_supply");
    }
};

}  // namespace

CBasicPowerPlatform* NewPowerPlatform()
{
    return new CPowerPlatformLinux;
}
