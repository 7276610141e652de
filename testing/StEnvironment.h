// An environment variable with another value for a scope.
#pragma once

#include <optional>
#include <string>

/// Sets `name`, or unsets it where `value` is empty, and puts back what was there. The environment
/// belongs to the whole process: only for tests that run no thread beside.
class StEnvironment
{
public:
    StEnvironment(std::string name, std::optional<std::string> const& value);
    StEnvironment(StEnvironment const&) = delete;
    StEnvironment& operator=(StEnvironment const&) = delete;
    ~StEnvironment();

private:
    std::string mName;
    std::optional<std::string> mFormerValue;
};
