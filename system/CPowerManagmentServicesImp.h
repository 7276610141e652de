// Power management over the platform in use.
#pragma once

#include "system/CBasicPowerManagmentServicesImp.h"

class CPowerManagmentServicesImp final : public CBasicPowerManagmentServicesImp
{
public:
    bool HasACPower() const override;
};
