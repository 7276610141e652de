// Where a service is announced or looked for, as the system wants it said.
#pragma once

#include "net/platform/CBasicNetServicePlatform.h"

/// All interfaces, or this machine alone.
constexpr std::uint32_t InterfaceIndexOf(bool allInterfaces)
{
    return allInterfaces ? kNetServiceAnyInterface : kNetServiceLocalOnly;
}

/// The default domains, which are null, or the local one alone.
constexpr char const* DomainOf(bool anyDomain)
{
    return anyDomain ? nullptr : "local.";
}
