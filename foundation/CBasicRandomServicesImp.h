// What a source of random numbers does.
#pragma once

#include "foundation/LoamExport.h"

class LOAM_EXPORT CBasicRandomServicesImp
{
public:
    CBasicRandomServicesImp() = default;
    CBasicRandomServicesImp(CBasicRandomServicesImp const&) = delete;
    CBasicRandomServicesImp& operator=(CBasicRandomServicesImp const&) = delete;
    virtual ~CBasicRandomServicesImp() = default;

    // Virtual operations keep their order for ever; new ones go last.

    /// Seeds the generator from the clock and the process. May be called again.
    virtual void Initialize() = 0;
    /// The next number, from 0 to 2^31 - 1. Not for keys: see `CCryptoServices`.
    virtual long Random() = 0;
};
