// What process control does.
#pragma once

#include "foundation/LoamExport.h"

class LOAM_EXPORT CBasicProcessServicesImp
{
public:
    CBasicProcessServicesImp() = default;
    CBasicProcessServicesImp(CBasicProcessServicesImp const&) = delete;
    CBasicProcessServicesImp& operator=(CBasicProcessServicesImp const&) = delete;
    virtual ~CBasicProcessServicesImp() = default;

    /// The identifier of this process.
    virtual int GetCurrentProcess() const = 0;
};
