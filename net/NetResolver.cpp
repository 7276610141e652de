#include "net/NetResolver.h"

#include <cstring>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

namespace {

bool HasOnlyLoopback(int family)
{
    ifaddrs* addresses = nullptr;
    if (getifaddrs(&addresses) == -1) return false;
    bool hasLoopback = false;
    bool hasOther = false;
    for (ifaddrs const* one = addresses; one; one = one->ifa_next) {
        if (!one->ifa_addr || one->ifa_addr->sa_family != family) continue;
        ((one->ifa_flags & IFF_LOOPBACK) != 0 ? hasLoopback : hasOther) = true;
    }
    freeifaddrs(addresses);
    return hasLoopback && !hasOther;
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
    if (result == 0 || result == EAI_SYSTEM || !HasOnlyLoopback(family)) return result;
    // To the resolver the loopback is no configured address, and it refuses "127.0.0.1" too.
    hints.ai_flags &= ~AI_ADDRCONFIG;
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
