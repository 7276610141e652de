#include "testing/StTimeZone.h"

#include <ctime>

StTimeZone::StTimeZone(std::string const& zone)
    : mVariable(std::in_place, "TZ", zone)
{
    tzset();
}

StTimeZone::~StTimeZone()
{
    mVariable.reset();
    tzset();
}
