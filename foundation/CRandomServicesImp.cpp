#include "foundation/CRandomServicesImp.h"

#include "system/CProcessServices.h"

#include <cstdlib>

#include <sys/time.h>

void CRandomServicesImp::Initialize()
{
    timeval now{};
    gettimeofday(&now, nullptr);
    int const process = CProcessServices::GetProcessServices()->mImp->GetCurrentProcess();
    srandom(static_cast<unsigned int>(now.tv_sec) ^ static_cast<unsigned int>(now.tv_usec) ^
            static_cast<unsigned int>(process));
}

long CRandomServicesImp::Random()
{
    return random();
}
