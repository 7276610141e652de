#include "concurrency/CThreadImp.h"

#include "foundation/FailureCategories.h"
#include "foundation/FailureDomains.h"
#include "marl/HierarchicalException.h"

void CThreadImp::ThrowOSThreadException(int error, int operation)
{
    throw HierarchicalException(kThreadDomain, ThreadCategoryOf(error), operation, error, nullptr);
}
