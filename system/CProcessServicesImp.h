// Process control by POSIX calls.
#pragma once

#include "system/CBasicProcessServicesImp.h"

class CProcessServicesImp final : public CBasicProcessServicesImp
{
public:
    int GetCurrentProcess() const override;
};
