#include "net/CNetIntf.h"

#include "foundation/FailureCategories.h"
#include "foundation/FailureDomains.h"
#include "marl/HierarchicalException.h"

void CNetIntf::ThrowNetConnectionException(int error, int operation)
{
    throw HierarchicalException(kNetConnectionDomain, NetCategoryOf(error), operation, error,
                                nullptr);
}
