// What power management does.
#pragma once

#include "foundation/LoamExport.h"

class LOAM_EXPORT CBasicPowerManagmentServicesImp
{
public:
    CBasicPowerManagmentServicesImp() = default;
    CBasicPowerManagmentServicesImp(CBasicPowerManagmentServicesImp const&) = delete;
    CBasicPowerManagmentServicesImp& operator=(CBasicPowerManagmentServicesImp const&) = delete;
    virtual ~CBasicPowerManagmentServicesImp() = default;

    // Virtual operations keep their order for ever; new ones go last.

    /// True if the machine runs from mains power: if any of its power sources says so, or if it has
    /// none, as a desktop has none. Asks the system in every call and never fails. Any thread may
    /// call.
    virtual bool HasACPower() const = 0;
};
