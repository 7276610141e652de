#include "system/CSharedMemoryImpl.h"

#include "foundation/FailureCategories.h"
#include "foundation/FailureDomains.h"
#include "marl/HierarchicalException.h"

#include <cerrno>
#include <string>

void CSharedMemoryImpl::ThrowException(CSharedMemoryError error, char const* operation)
{
    int const osError = errno;
    throw HierarchicalException(kSharedMemoryDomain, SharedMemoryCategoryOf(osError), error,
                                osError, std::string(operation));
}
