// Where the machine's power comes from.
//
//     bool const isPluggedIn =
//         CPowerManagmentServices::GetPowerManagmentServices()->mImp->HasACPower();
#pragma once

#include "foundation/LoamExport.h"
#include "system/CBasicPowerManagmentServicesImp.h"

#include <atomic>

/// The process's view of the power sources. Any thread may call the getter, which takes no lock.
class LOAM_EXPORT CPowerManagmentServices
{
public:
    CPowerManagmentServices();
    CPowerManagmentServices(CPowerManagmentServices const&) = delete;
    CPowerManagmentServices& operator=(CPowerManagmentServices const&) = delete;
    ~CPowerManagmentServices();

    /// The one instance, made at the first call; it lives until the process ends.
    static CPowerManagmentServices* GetPowerManagmentServices();

    CBasicPowerManagmentServicesImp* mImp;  // owned

private:
    static std::atomic<CPowerManagmentServices*> sPowerManagmentServices;
};
