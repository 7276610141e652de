// Random numbers for everyday use: file names, delays, sampling. Not for keys.
//
//     long const number = CRandomServices::GetRandomServices()->mImp->Random();
#pragma once

#include "foundation/CBasicRandomServicesImp.h"
#include "foundation/LoamExport.h"

#include <atomic>

/// The process's random numbers. Any thread may call the getter, which takes no lock.
class LOAM_EXPORT CRandomServices
{
public:
    /// An instance of its own, not seeded: its numbers are the C library's default sequence unless
    /// `GetRandomServices` has run in this process.
    CRandomServices();
    CRandomServices(CRandomServices const&) = delete;
    CRandomServices& operator=(CRandomServices const&) = delete;
    ~CRandomServices();

    /// The one instance, made and seeded at the first call; it lives until the process ends.
    static CRandomServices* GetRandomServices();

    CBasicRandomServicesImp* mImp;  // owned

private:
    static std::atomic<CRandomServices*> sRandomServices;
};
