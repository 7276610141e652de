// Random numbers from the C library's `random`.
#pragma once

#include "foundation/CBasicRandomServicesImp.h"

/// Shares the generator's state with every other user of `random` in the process.
class CRandomServicesImp final : public CBasicRandomServicesImp
{
public:
    void Initialize() override;
    long Random() override;
};
