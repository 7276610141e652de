// Helper programs that run for a short while.
#include "system/CProcessServicesImp.h"

std::string CProcessServicesImp::ExecuteSubprocess(std::string const&,
                                                   std::vector<std::string> const&,
                                                   float) const
{
    return {};
}
