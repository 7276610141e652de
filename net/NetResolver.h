// The system's resolver, as the connections use it.
#pragma once

#include <cstdlib>
#include <string>

#include <netdb.h>

/// How a resolver's result is passed on as an error: above 1000, whatever sign the system gives it.
inline int ResolverError(int result)
{
    return 1000 + std::abs(result);
}

/// `getaddrinfo` for stream sockets of one family, for a host that this machine can reach by the
/// addresses it has. A machine or container that has no address but the loopback's reaches that
/// one, and where this is so of one family alone, an address given as a number. `service` is a
/// number, or null. The caller frees `*found`, which is null on failure.
int LookUp(char const* host, char const* service, int family, addrinfo** found);

/// An IPv4 or IPv6 address as text; empty for other families.
std::string AddressText(sockaddr const& address);
