#include "loamctl/Failure.h"

#include <system_error>

#include "marl/HierarchicalException.h"

std::string DescribeFailure(HierarchicalException const& failure)
{
    int const error = failure.levels.empty() ? 0 : failure.levels[0].osError;
    return error > 0 ? std::generic_category().message(error) : failure.what();
}
