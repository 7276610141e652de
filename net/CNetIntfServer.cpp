// Ports and clients.
#include "net/CNetIntf.h"

#include "foundation/FailureDomains.h"
#include "marl/HierarchicalException.h"
#include "net/StNetDescriptor.h"
#include "net/platform/NetSockets.h"

#include <cerrno>
#include <cstring>
#include <memory>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>

namespace {

constexpr short kAllEvents = POLLIN | POLLPRI | POLLOUT | POLLRDNORM | POLLRDBAND | POLLWRBAND;

// Of this machine: any of its addresses, or that of the loopback.
struct LocalAddress
{
    LocalAddress(int family, bool allInterfaces, unsigned short port)
    {
        if (family == AF_INET6) {
            sockaddr_in6 six = {};
            six.sin6_family = AF_INET6;
            six.sin6_port = htons(port);
            six.sin6_addr = allInterfaces ? in6addr_any : in6addr_loopback;
            Set(six);
        } else {
            sockaddr_in four = {};
            four.sin_family = AF_INET;
            four.sin_port = htons(port);
            four.sin_addr.s_addr = htonl(allInterfaces ? INADDR_ANY : INADDR_LOOPBACK);
            Set(four);
        }
    }

    sockaddr const* Get() const { return reinterpret_cast<sockaddr const*>(&mAddress); }

    sockaddr_storage mAddress = {};
    socklen_t mLength = 0;

private:
    template <class Address>
    void Set(Address const& address)
    {
        std::memcpy(&mAddress, &address, sizeof address);
        mLength = sizeof address;
    }
};

bool SetFlag(int descriptor, int level, int option, int value)
{
    return setsockopt(descriptor, level, option, &value, sizeof value) != -1;
}

// 0 on failure, with errno.
unsigned short PortOf(int descriptor)
{
    sockaddr_storage address = {};
    socklen_t length = sizeof address;
    if (getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length) == -1) return 0;
    if (address.ss_family == AF_INET) {
        sockaddr_in four;
        std::memcpy(&four, &address, sizeof four);
        return ntohs(four.sin_port);
    }
    sockaddr_in6 six;
    std::memcpy(&six, &address, sizeof six);
    return ntohs(six.sin6_port);
}

}  // namespace

unsigned short CNetIntf::SetServerPort(bool allInterfaces,
                                       unsigned short firstPort,
                                       unsigned short lastPort,
                                       int backlog)
{
    mAllInterfaces = allInterfaces;
    int error = EADDRNOTAVAIL;
    if (firstPort > lastPort) ThrowNetConnectionException(error, kNetConnect);
    StopServer();
    for (int port = firstPort; port <= lastPort; ++port) {
        unsigned short const bound = ListenOn(static_cast<unsigned short>(port), backlog, error);
        if (bound == 0) continue;
        mServerPort = bound;
        mReuseRequested = false;
        return bound;
    }
    ThrowNetConnectionException(error, kNetConnect);
}

// The port that it got, 0 if none. An IPv6 socket for all interfaces takes IPv4 clients too; for
// the loopback each needs its own.
unsigned short CNetIntf::ListenOn(unsigned short port, int backlog, int& error)
{
    unsigned short const six = Listen(mListenSocket, AF_INET6, port, backlog, error);
    if (six != 0 && mAllInterfaces) return six;
    if (six == 0) return Listen(mListenSocket, AF_INET, port, backlog, error);
    // By IPv6 alone where somebody else has the port of IPv4.
    Listen(mListenSocket2, AF_INET, six, backlog, error);
    return six;
}

// The port that the socket in `slot` got. Otherwise 0, `error` is set, and nothing is in there.
unsigned short
CNetIntf::Listen(CNetSocket& slot, int family, unsigned short port, int backlog, int& error) const
{
    bool const reuse = mReuseRequested && mReusePort == port;
    LocalAddress const address(family, mAllInterfaces, port);
    StNetDescriptor descriptor(NewSocket(family, SOCK_STREAM, 0));
    int const number = descriptor.Get();
    bool const isListening = number != -1 && SetFlag(number, SOL_SOCKET, SO_REUSEADDR, 1) &&
                             (!reuse || SetFlag(number, SOL_SOCKET, SO_REUSEPORT, 1)) &&
                             // Whatever the machine's default is.
                             (family != AF_INET6 ||
                              SetFlag(number, IPPROTO_IPV6, IPV6_V6ONLY, mAllInterfaces ? 0 : 1)) &&
                             bind(number, address.Get(), address.mLength) != -1 &&
                             listen(number, backlog) != -1;
    unsigned short const bound = isListening ? PortOf(number) : static_cast<unsigned short>(0);
    if (bound == 0) {
        error = errno;
        return 0;
    }
    slot.Set(descriptor.Release());
    return bound;
}

// The last error, or 0. A thread that waits for clients sees the hang-up, and its leaving closes
// the sockets.
int CNetIntf::StopServer()
{
    int error = 0;
    for (CNetSocket* const socket : {&mListenSocket, &mListenSocket2}) {
        CNetSocket::StUse const use(*socket);
        if (use.Get() == 0) continue;
        if (mServerPort != 0) SetFlag(use.Get(), SOL_SOCKET, SO_REUSEPORT, 1);
        if (StopListening(use.Get()) == -1) error = errno;
        use.GiveUp();
    }
    return error;
}

CBasicNetIntf* CNetIntf::WaitClientConnection()
{
    for (;;) {
        CNetSocket::StUse const first(mListenSocket);
        CNetSocket::StUse const second(mListenSocket2);
        // Stopped before we came, or never there: nobody would end the wait.
        if (first.Get() == 0) {
            throw HierarchicalException(kNetConnectionDomain, kNetAborted, kNetWaitClient, -1,
                                        nullptr);
        }
        CNetSocket::StUse const* const uses[] = {&first, &second};
        pollfd waits[] = {{first.Get(), kAllEvents, 0}, {second.Get(), kAllEvents, 0}};
        nfds_t const count = second.Get() != 0 ? 2 : 1;
        if (poll(waits, count, -1) < 1) continue;

        int trouble = 0;  // the category of the first
        std::unique_ptr<CNetIntf> client;
        for (nfds_t i = 0; i < count; ++i) {
            if ((waits[i].revents & (POLLERR | POLLHUP)) != 0) {
                bool const isError = (waits[i].revents & POLLERR) != 0;
                uses[i]->GiveUp();
                if (trouble == 0) trouble = isError ? kOtherFailure : kNetAborted;
            } else if ((waits[i].revents & POLLIN) != 0) {
                client.reset(Accept(*uses[i]));
                break;
            }
        }
        if (trouble != 0)
            throw HierarchicalException(kNetConnectionDomain, trouble, kNetWaitClient, -1, nullptr);
        if (client) return client.release();
    }
}

// Null if the socket doesn't listen any more.
CNetIntf* CNetIntf::Accept(CNetSocket::StUse const& listener) const
{
    auto client = std::make_unique<CNetIntf>(mOwner);
    socklen_t length = sizeof client->mPeerAddress;
    StNetDescriptor descriptor(
        AcceptClient(listener.Get(), reinterpret_cast<sockaddr*>(&client->mPeerAddress), &length));
    // Stopped in between: the next look at it tells so.
    if (descriptor.Get() == -1 && errno == EINVAL) return nullptr;
    if (descriptor.Get() == -1) ThrowNetConnectionException(errno, kNetWaitClient);
    client->mSocket.Set(descriptor.Release());
    return client.release();
}
