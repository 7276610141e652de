// Process control. So far it tells which process this is.
#pragma once

#include "foundation/LoamExport.h"
#include "system/CBasicProcessServicesImp.h"

#include <atomic>

/// The process's facade of process control. Any thread may call the getter, which takes no lock.
class LOAM_EXPORT CProcessServices
{
public:
    CProcessServices();
    CProcessServices(CProcessServices const&) = delete;
    CProcessServices& operator=(CProcessServices const&) = delete;
    ~CProcessServices();

    /// The one instance, made at the first call; it lives until the process ends.
    static CProcessServices* GetProcessServices();

    CBasicProcessServicesImp* mImp;  // owned

private:
    static std::atomic<CProcessServices*> sProcessServices;
};
