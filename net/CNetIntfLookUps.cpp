// Names and addresses.
#include "net/CNetIntf.h"

#include "concurrency/StMutexLocker.h"
#include "foundation/FailureDomains.h"
#include "net/NetResolver.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include <ifaddrs.h>
#include <netinet/in.h>
#include <unistd.h>

namespace {

// The addresses of this machine's interfaces.
class StInterfaces
{
public:
    StInterfaces()
    {
        if (getifaddrs(&mFirst) == -1) CNetIntf::ThrowNetConnectionException(errno, kNetResolve);
    }

    StInterfaces(StInterfaces const&) = delete;
    StInterfaces& operator=(StInterfaces const&) = delete;

    ~StInterfaces() { freeifaddrs(mFirst); }

    /// Calls `action` with the text of each address of a family, until it answers false.
    template <class Action>
    void ForEach(int family, Action const& action) const
    {
        for (ifaddrs const* one = mFirst; one; one = one->ifa_next) {
            if (!one->ifa_addr || one->ifa_addr->sa_family != family) continue;
            if (!action(AddressText(*one->ifa_addr))) return;
        }
    }

private:
    ifaddrs* mFirst = nullptr;  // owned
};

[[noreturn]] void ThrowResolverFailure(int result)
{
    CNetIntf::ThrowNetConnectionException(result == EAI_SYSTEM ? errno : ResolverError(result),
                                          kNetResolve);
}

// The first usable address that a look-up finds, empty if there is none.
std::string FirstAddress(char const* host, int family, int& result)
{
    addrinfo* found = nullptr;
    result = LookUp(host, nullptr, family, &found);
    if (result != 0) return {};
    std::string text;
    for (addrinfo const* one = found; one && text.empty(); one = one->ai_next)
        text = AddressText(*one->ai_addr);
    freeaddrinfo(found);
    return text;
}

}  // namespace

void CNetIntf::ResolveRemoteHost(std::string const& host, unsigned short port)
{
    StMutexLocker const lock(mMutex);
    if (mAddrInfo) freeaddrinfo(mAddrInfo);
    mAddrInfo = nullptr;
    char service[8];
    std::snprintf(service, sizeof service, "%d", port);
    if (LookUp(host.c_str(), service, AF_INET, &mAddrInfo) == 0) return;
    if (int const result = LookUp(host.c_str(), service, AF_INET6, &mAddrInfo))
        ThrowResolverFailure(result);
}

void CNetIntf::GetLocalHostName(std::string* name)
{
    if (!name) return;
    StMutexLocker const lock(mMutex);
    char text[256] = "";
    if (gethostname(text, sizeof text - 1) == -1) ThrowNetConnectionException(errno, kNetResolve);
    name->assign(text);
}

void CNetIntf::GetLocalHostAddr(std::string* address)
{
    StMutexLocker const lock(mMutex);
    StInterfaces const interfaces;
    std::string first;
    interfaces.ForEach(AF_INET, [&first](std::string const& text) {
        first = text;
        return false;
    });
    // No call has failed, so there is no error to tell.
    if (first.empty()) ThrowNetConnectionException(0, kNetResolve);
    if (address) *address = first;
}

void CNetIntf::GetLocalHostAddresses(std::vector<std::string>& addresses)
{
    StMutexLocker const lock(mMutex);
    addresses.clear();
    StInterfaces const interfaces;
    interfaces.ForEach(AF_INET, [&addresses](std::string const& text) {
        addresses.push_back(text);
        addresses.push_back("::ffff:" + text);
        return true;
    });
    interfaces.ForEach(AF_INET6, [&addresses](std::string const& text) {
        addresses.push_back(text);
        return true;
    });
}

void CNetIntf::GetHostAddr(std::string const* host, std::string* address)
{
    StMutexLocker const lock(mMutex);
    char const* const name = host ? host->c_str() : nullptr;
    int result = 0;
    std::string text = FirstAddress(name, AF_INET, result);
    if (text.empty()) {
        text = FirstAddress(name, AF_INET6, result);
        if (result != 0) ThrowNetConnectionException(ResolverError(result), kNetResolve);
    }
    if (address && !text.empty()) *address = text;
}

void CNetIntf::GetPeerHost(std::string* host, unsigned short& port)
{
    StMutexLocker const lock(mMutex);
    // Some systems want the very length of the address.
    socklen_t const length =
        mPeerAddress.ss_family == AF_INET ? sizeof(sockaddr_in) : sizeof(sockaddr_in6);
    char hostText[NI_MAXHOST] = "";
    char portText[NI_MAXSERV] = "";
    int const result =
        getnameinfo(reinterpret_cast<sockaddr const*>(&mPeerAddress), length, hostText,
                    sizeof hostText, portText, sizeof portText, NI_NUMERICHOST | NI_NUMERICSERV);
    if (result != 0) ThrowResolverFailure(result);
    if (host) host->assign(hostText);
    port = static_cast<unsigned short>(std::strtol(portText, nullptr, 10));
}
