#include "testing/StEnvironment.h"

#include <cstdlib>
#include <utility>

namespace {

void Put(std::string const& name, std::optional<std::string> const& value)
{
    if (value) {
        setenv(name.c_str(), value->c_str(), 1);
    } else {
        unsetenv(name.c_str());
    }
}

}  // namespace

StEnvironment::StEnvironment(std::string name, std::optional<std::string> const& value)
    : mName(std::move(name))
{
    if (char const* const former = std::getenv(mName.c_str())) mFormerValue = former;
    Put(mName, value);
}

StEnvironment::~StEnvironment()
{
    Put(mName, mFormerValue);
}
