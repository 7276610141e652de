#include "system/CProcessServicesImp.h"

#include <unistd.h>

int CProcessServicesImp::GetCurrentProcess() const
{
    return getpid();
}
