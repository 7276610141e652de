// Another time zone for a scope.
#pragma once

#include "testing/StEnvironment.h"

#include <optional>
#include <string>

/// Sets the C library's zone, as the TZ variable writes it: "CET-1CEST,M3.5.0,M10.5.0/3" needs no
/// zone files. The zone belongs to the whole process: only for tests that run no thread beside.
class StTimeZone
{
public:
    explicit StTimeZone(std::string const& zone);
    StTimeZone(StTimeZone const&) = delete;
    StTimeZone& operator=(StTimeZone const&) = delete;
    ~StTimeZone();

private:
    std::optional<StEnvironment> mVariable;
};
