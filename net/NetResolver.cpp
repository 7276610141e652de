#include "net/NetResolver.h"

#include <cstring>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

namespace {

// What this machine's interfaces have.
struct OwnAddresses
{
    bool mHasLoopback = false;  // these two of the family asked for
    bool mHasOther = false;
    bool mIsAlone = true;  // nothing of either family that leads anywhere else
};

bool IsLinkLocal(sockaddr const& address)
{
    if (address.sa_family != AF_INET6) return false;
    sockaddr_in6 six;
    std::memcpy(&six, &address, sizeof six);
    return IN6_IS_ADDR_LINKLOCAL(&six.sin6_addr);
}

OwnAddresses LookAtInterfaces(int family)
{
    OwnAddresses result;
    ifaddrs* addresses = nullptr;
    if (getifaddrs(&addresses) == -1) return result;
    for (ifaddrs const* one = addresses; one; one = one->ifa_next) {
        if (!one->ifa_addr) continue;
        int const itsFamily = one->ifa_addr->sa_family;
        if (itsFamily != AF_INET && itsFamily != AF_INET6) continue;
        bool const isLoopback = (one->ifa_flags & IFF_LOOPBACK) != 0;
        if (itsFamily == family) (isLoopback ? result.mHasLoopback : result.mHasOther) = true;
        if (!isLoopback && !IsLinkLocal(*one->ifa_addr)) result.mIsAlone = false;
    }
    freeifaddrs(addresses);
    return result;
}

}  // namespace

int LookUp(char const* host, char const* service, int family, addrinfo** found)
{
    addrinfo hints = {};
    hints.ai_flags = AI_ADDRCONFIG | (service ? AI_NUMERICSERV : 0);
    hints.ai_family = family;
    hints.ai_socktype = SOCK_STREAM;
    *found = nullptr;
    int const result = getaddrinfo(host, service, &hints, found);
    // With EAI_SYSTEM the caller wants errno as it is.
    if (result == 0 || result == EAI_SYSTEM) return result;
    // To the resolver the loopback is no configured address, and it refuses "127.0.0.1" too.
    OwnAddresses const own = LookAtInterfaces(family);
    if (!own.mHasLoopback || own.mHasOther) return result;
    hints.ai_flags &= ~AI_ADDRCONFIG;
    // A name may well have an address that can be reached, of the other family.
    if (!own.mIsAlone) hints.ai_flags |= AI_NUMERICHOST;
    *found = nullptr;
    return getaddrinfo(host, service, &hints, found);
}

std::string AddressText(sockaddr const& address)
{
    char text[INET6_ADDRSTRLEN] = "";
    // Copies: what the system gives may be aligned as a sockaddr only.
    if (address.sa_family == AF_INET) {
        sockaddr_in four;
        std::memcpy(&four, &address, sizeof four);
        inet_ntop(AF_INET, &four.sin_addr, text, sizeof text);
    } else if (address.sa_family == AF_INET6) {
        sockaddr_in6 six;
        std::memcpy(&six, &address, sizeof six);
        inet_ntop(AF_INET6, &six.sin6_addr, text, sizeof text);
    }
    return text;
}
