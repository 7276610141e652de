// What went wrong, in words for people.
#pragma once

#include <stdexcept>
#include <string>

class HierarchicalException;

/// The system's own words for a failed file operation: "Permission denied".
std::string DescribeFailure(HierarchicalException const& failure);

/// Something that ends the program: told as it stands, exit code 2.
class CUsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};
