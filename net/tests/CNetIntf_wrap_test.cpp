// System calls that fail one by one, and moments that only a held call shows.
#include "net/CNetIntf.h"

#include <cerrno>
#include <cstdarg>
#include <functional>
#include <future>
#include <memory>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netdb.h>
#include <poll.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "foundation/FailureDomains.h"
#include "net/CNetConnection.h"
#include "net/tests/Peers.h"
#include "testing/FailureOf.h"

namespace {

// What a call of this thread does instead: fails once with an error, after some that work.
struct Fault
{
    int mError = 0;
    int mAfter = 0;

    // True for the one that fails; errno is set.
    bool Strikes()
    {
        if (mError == 0 || mAfter-- > 0) return false;
        errno = std::exchange(mError, 0);
        return true;
    }
};

thread_local Fault sAccept, sClose, sConnect, sFcntl, sGethostname, sGetifaddrs, sGetsockname,
    sGetsockopt, sIoctl, sSetsockopt, sShutdown, sSocket;
thread_local std::function<int(pollfd*, nfds_t)> sPoll;
thread_local std::function<int(addrinfo const&)> sGetaddrinfo;  // -1 for the real one
thread_local std::function<void()> sBeforeReceive;
thread_local std::function<bool(int)> sIsLoopback;  // whether a family's addresses are that
thread_local int sConnectFlags = -1;                // of the descriptor, at the last connect
thread_local bool sNoInterfaces = false;
thread_local bool sUnreadIsOne = false;

Failure NetFailure(int category, int context, int osError)
{
    return {kNetConnectionDomain, category, context, osError};
}

}  // namespace

extern "C" {
int __real_accept4(int, sockaddr*, socklen_t*, int);
int __real_close(int);
int __real_connect(int, sockaddr const*, socklen_t);
int __real_fcntl(int, int, ...);
int __real_getaddrinfo(char const*, char const*, addrinfo const*, addrinfo**);
int __real_gethostname(char*, size_t);
int __real_getifaddrs(ifaddrs**);
int __real_getsockname(int, sockaddr*, socklen_t*);
int __real_getsockopt(int, int, int, void*, socklen_t*);
int __real_ioctl(int, unsigned long, ...);
int __real_poll(pollfd*, nfds_t, int);
ssize_t __real_recv(int, void*, size_t, int);
int __real_setsockopt(int, int, int, void const*, socklen_t);
int __real_shutdown(int, int);
int __real_socket(int, int, int);

int __wrap_accept4(int listener, sockaddr* address, socklen_t* length, int flags)
{
    return sAccept.Strikes() ? -1 : __real_accept4(listener, address, length, flags);
}

int __wrap_close(int descriptor)
{
    // It is gone all the same.
    bool const fails = sClose.Strikes();
    int const error = errno;
    int const result = __real_close(descriptor);
    if (!fails) return result;
    errno = error;
    return -1;
}

int __wrap_connect(int descriptor, sockaddr const* address, socklen_t length)
{
    sConnectFlags = __real_fcntl(descriptor, F_GETFL);
    bool const inProgress = sConnect.mError == EINPROGRESS;
    if (inProgress) __real_connect(descriptor, address, length);
    return sConnect.Strikes() ? -1 : __real_connect(descriptor, address, length);
}

int __wrap_fcntl(int descriptor, int command, ...)
{
    va_list arguments;
    va_start(arguments, command);
    int const argument = va_arg(arguments, int);
    va_end(arguments);
    return sFcntl.Strikes() ? -1 : __real_fcntl(descriptor, command, argument);
}

int __wrap_getaddrinfo(char const* host,
                       char const* service,
                       addrinfo const* hints,
                       addrinfo** found)
{
    if (sGetaddrinfo) {
        int const result = sGetaddrinfo(*hints);
        if (result != -1) return result;
    }
    return __real_getaddrinfo(host, service, hints, found);
}

int __wrap_gethostname(char* name, size_t size)
{
    return sGethostname.Strikes() ? -1 : __real_gethostname(name, size);
}

int __wrap_getifaddrs(ifaddrs** addresses)
{
    *addresses = nullptr;
    if (sNoInterfaces) return 0;
    int const result = sGetifaddrs.Strikes() ? -1 : __real_getifaddrs(addresses);
    for (ifaddrs* one = *addresses; one && sIsLoopback; one = one->ifa_next) {
        one->ifa_flags &= ~static_cast<unsigned int>(IFF_LOOPBACK);
        if (one->ifa_addr && sIsLoopback(one->ifa_addr->sa_family)) one->ifa_flags |= IFF_LOOPBACK;
    }
    return result;
}

int __wrap_getsockname(int descriptor, sockaddr* address, socklen_t* length)
{
    return sGetsockname.Strikes() ? -1 : __real_getsockname(descriptor, address, length);
}

int __wrap_getsockopt(int descriptor, int level, int option, void* value, socklen_t* length)
{
    return sGetsockopt.Strikes() ? -1 : __real_getsockopt(descriptor, level, option, value, length);
}

int __wrap_ioctl(int descriptor, unsigned long request, ...)
{
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    if (sIoctl.Strikes()) return -1;
    int const result = __real_ioctl(descriptor, request, argument);
    if (sUnreadIsOne && request == FIONREAD) *static_cast<int*>(argument) = 1;
    return result;
}

int __wrap_poll(pollfd* waits, nfds_t count, int time)
{
    return sPoll ? std::exchange(sPoll, nullptr)(waits, count) : __real_poll(waits, count, time);
}

ssize_t __wrap_recv(int descriptor, void* buffer, size_t size, int flags)
{
    if (sBeforeReceive) std::exchange(sBeforeReceive, nullptr)();
    return __real_recv(descriptor, buffer, size, flags);
}

int __wrap_setsockopt(int descriptor, int level, int option, void const* value, socklen_t length)
{
    return sSetsockopt.Strikes() ? -1 : __real_setsockopt(descriptor, level, option, value, length);
}

int __wrap_shutdown(int descriptor, int how)
{
    return sShutdown.Strikes() ? -1 : __real_shutdown(descriptor, how);
}

int __wrap_socket(int family, int type, int protocol)
{
    return sSocket.Strikes() ? -1 : __real_socket(family, type, protocol);
}
}

TEST(CNetIntfFaults, ConnectTellsWhatFailedAndLeavesNoSocket)
{
    int const broken = ENOBUFS;

    struct
    {
        char const* mWhat;
        std::function<void()> mArm;
        Failure mFailure;
    } const cases[] = {
        {"socket", [=] { sSocket = {broken}; }, NetFailure(kOtherFailure, kNetResolve, broken)},
        {"reading the flags", [=] { sFcntl = {broken}; },
         NetFailure(kOtherFailure, kNetConnect, broken)},
        {"clearing the flag",
         [=] {
             sFcntl = {broken, 1};
         },
         NetFailure(kOtherFailure, kNetConnect, broken)},
        {"restoring the flags",
         [=] {
             sFcntl = {broken, 2};
         },
         NetFailure(kOtherFailure, kNetConnect, broken)},
        {"connect", [=] { sConnect = {ENETUNREACH}; },
         NetFailure(kNetUnreachable, kNetConnect, ENETUNREACH)},
        {"a signal", [=] { sConnect = {EINTR}; }, NetFailure(kNetInterrupted, kNetConnect, EINTR)},
        {"the time-out", [] { sPoll = [](pollfd*, nfds_t) { return 0; }; },
         NetFailure(kNetTimedOut, kNetConnect, ETIMEDOUT)},
        {"waiting",
         [] {
             sPoll = [](pollfd*, nfds_t) {
                 errno = EINTR;
                 return -1;
             };
         },
         NetFailure(kNetInterrupted, kNetConnect, EINTR)},
        {"the socket's error", [=] { sGetsockopt = {EACCES}; },
         NetFailure(kNetRefused, kNetConnect, EACCES)},
    };

    StPeer const listener = StPeer::Listening();
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        CNetConnection connection;
        connection.ResolveRemoteHost("127.0.0.1", listener.Port());
        int const before = CountDescriptors();
        c.mArm();
        EXPECT_EQ(FailureOf([&] { connection.Connect(5); }), c.mFailure);
        EXPECT_EQ(CountDescriptors(), before);
        EXPECT_EQ(FailureOf([&] { connection.GetAmountUnread(); }).mOSError, EBADF);
    }
}

TEST(CNetIntfFaults, ConnectWaitsForAConnectionInProgress)
{
    StPeer const listener = StPeer::Listening();
    CNetConnection connection;
    connection.ResolveRemoteHost("127.0.0.1", listener.Port());
    sConnect = {EINPROGRESS};
    connection.Connect(5);
    listener.Accept().Send("late\n");
    EXPECT_EQ(LineFrom(connection), "late");
}

// The time-out is for what comes behind the connect.
TEST(CNetIntfFaults, KeepsConnectBlockingWhateverTheTimeOut)
{
    StPeer const listener = StPeer::Listening();
    CNetConnection connection;
    connection.ResolveRemoteHost("127.0.0.1", listener.Port());
    connection.Connect(1);
    ASSERT_NE(sConnectFlags, -1);
    EXPECT_EQ(sConnectFlags & O_NONBLOCK, 0);
}

TEST(CNetIntfFaults, DataCallsTellWhatFailed)
{
    Link link;
    char buffer[4];
    unsigned int size = 4;
    sSetsockopt = {ENOBUFS};
    EXPECT_EQ(FailureOf([&] { link.mOurs->ReceiveData(buffer, size, 7); }),
              NetFailure(kOtherFailure, kNetReceive, ENOBUFS));
    sSetsockopt = {ENOBUFS};
    EXPECT_EQ(FailureOf([&] { link.mOurs->SendData("x", 7); }),
              NetFailure(kOtherFailure, kNetSend, ENOBUFS));
    sIoctl = {ENOBUFS};
    EXPECT_EQ(FailureOf([&] { link.mOurs->GetAmountUnread(); }),
              NetFailure(kOtherFailure, kNetReceive, ENOBUFS));
    // None of it has hurt.
    link.mOurs->SendData("x", 7);
    EXPECT_EQ(link.mPeer.Receive(1), "x");
}

TEST(CNetIntfFaults, SetServerPortTellsTheLastErrorAndLeavesNoSocket)
{
    struct
    {
        char const* mWhat;
        Fault& mFault;
    } const cases[] = {
        {"socket", sSocket}, {"setsockopt", sSetsockopt}, {"getsockname", sGetsockname}};

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        int const before = CountDescriptors();
        CNetConnection server;
        c.mFault = {ENOBUFS};
        // The other family steps in.
        EXPECT_NE(server.SetServerPort(true, 0, 0, 5), 0);
        EXPECT_EQ(CountDescriptors(), before + 1);
        server.Disconnect();
        EXPECT_EQ(CountDescriptors(), before);
    }
}

TEST(CNetIntfFaults, DisconnectTellsAFailureAndHoldsOnToNothing)
{
    int const before = CountDescriptors();
    CNetConnection connection;
    connection.SetServerPort(false, 0, 0, 5);
    sShutdown = {ENOBUFS};
    EXPECT_EQ(FailureOf([&] { connection.Disconnect(); }),
              NetFailure(kOtherFailure, kNetDisconnect, ENOBUFS));
    connection.SetServerPort(false, 0, 0, 5);
    sShutdown = {ENOBUFS};
    int const place = 0;
    EXPECT_EQ(FailureOf([&] {
                  connection.CancelCurrentOperation(reinterpret_cast<CThread const*>(&place));
              }),
              NetFailure(kOtherFailure, kNetDisconnect, ENOBUFS));
    EXPECT_EQ(CountDescriptors(), before);

    StPeer const listener = StPeer::Listening();
    ConnectTo(connection, listener.Port());
    sClose = {EIO};
    EXPECT_EQ(FailureOf([&] { connection.Disconnect(); }),
              NetFailure(kOtherFailure, kNetDisconnect, EIO));
    connection.Disconnect();
}

TEST(CNetIntfFaults, WaitTellsTroubleWithItsSockets)
{
    struct
    {
        char const* mWhat;
        short mFirst;
        short mSecond;
        int mCategory;
    } const cases[] = {
        {"an error", POLLERR, 0, kOtherFailure},
        {"an error and a hang-up of one", POLLERR | POLLHUP, 0, kOtherFailure},
        {"a hang-up", POLLHUP | POLLIN, 0, kNetAborted},
        {"a hang-up, then an error", POLLHUP, POLLERR, kNetAborted},
        {"an error, then a hang-up", POLLERR, POLLHUP, kOtherFailure},
        {"an error and a client", POLLERR, POLLIN, kOtherFailure},
    };

    if (!HasIPv6()) GTEST_SKIP() << "there is no ::1 here";
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        CNetConnection server;
        unsigned short const port = server.SetServerPort(false, 0, 0, 5);
        StPeer const peer = StPeer::Connected(port);
        int const before = CountDescriptors();
        sPoll = [&c](pollfd* waits, nfds_t) {
            waits[0].revents = c.mFirst;
            waits[1].revents = c.mSecond;
            return 1;
        };
        EXPECT_EQ(FailureOf([&] { delete server.WaitClientConnection(); }),
                  NetFailure(c.mCategory, kNetWaitClient, -1));
        EXPECT_LT(CountDescriptors(), before);
        server.Disconnect();
        EXPECT_EQ(CountDescriptors(), before - 2);
    }
}

TEST(CNetIntfFaults, WaitGoesOnAfterASignal)
{
    CNetConnection server;
    StPeer const peer = StPeer::Connected(server.SetServerPort(false, 0, 0, 5));
    sPoll = [](pollfd*, nfds_t) {
        errno = EINTR;
        return -1;
    };
    std::unique_ptr<CNetConnection> const client(server.WaitClientConnection());
    client->SendData("taken", 0);
    EXPECT_EQ(peer.Receive(5), "taken");
    server.Disconnect();
}

TEST(CNetIntfFaults, WaitTellsAClientThatCannotBeTaken)
{
    CNetConnection server;
    StPeer const peer = StPeer::Connected(server.SetServerPort(false, 0, 0, 5));
    sAccept = {EMFILE};
    EXPECT_EQ(FailureOf([&] { delete server.WaitClientConnection(); }),
              NetFailure(kOtherFailure, kNetWaitClient, EMFILE));
    // Stopped just then, it would say so at the next look.
    sAccept = {EINVAL};
    std::unique_ptr<CNetConnection> const client(server.WaitClientConnection());
    server.Disconnect();
}

TEST(CNetIntfFaults, LookUpsTellWhatFailed)
{
    CNetConnection connection;
    std::string text;
    sGethostname = {ENAMETOOLONG};
    EXPECT_EQ(FailureOf([&] { connection.GetLocalHostName(&text); }),
              NetFailure(kOtherFailure, kNetResolve, ENAMETOOLONG));
    sGetifaddrs = {EMFILE};
    EXPECT_EQ(FailureOf([&] { connection.GetLocalHostAddr(&text); }),
              NetFailure(kOtherFailure, kNetResolve, EMFILE));
    std::vector<std::string> addresses;
    sGetifaddrs = {EMFILE};
    EXPECT_EQ(FailureOf([&] { connection.GetLocalHostAddresses(addresses); }),
              NetFailure(kOtherFailure, kNetResolve, EMFILE));
    sGetifaddrs = {EMFILE};
    EXPECT_FALSE(connection.IsLocalIPAddress("127.0.0.1"));
    sNoInterfaces = true;
    EXPECT_EQ(FailureOf([&] { connection.GetLocalHostAddr(&text); }),
              NetFailure(kOtherFailure, kNetResolve, 0));
    sNoInterfaces = false;
}

TEST(CNetIntfFaults, AsksForIPv4AndThenForIPv6)
{
    std::vector<int> families;
    std::vector<int> flags;
    auto const failing = [&](int result) {
        families.clear();
        flags.clear();
        return [&, result](addrinfo const& hints) {
            families.push_back(hints.ai_family);
            flags.push_back(hints.ai_flags);
            EXPECT_EQ(hints.ai_socktype, SOCK_STREAM);
            errno = ENOBUFS;
            return result;
        };
    };
    CNetConnection connection;
    // Told by errno, and no reason to try without a flag.
    sGetaddrinfo = failing(EAI_SYSTEM);
    EXPECT_EQ(FailureOf([&] { connection.ResolveRemoteHost("host", 80); }),
              NetFailure(kOtherFailure, kNetResolve, ENOBUFS));
    EXPECT_EQ(families, (std::vector<int>{AF_INET, AF_INET6}));
    EXPECT_EQ(flags, (std::vector<int>(2, AI_ADDRCONFIG | AI_NUMERICSERV)));

    std::string const host = "host";
    sNoInterfaces = true;
    sGetaddrinfo = failing(EAI_AGAIN);
    EXPECT_EQ(FailureOf([&] { connection.GetHostAddr(&host, nullptr); }),
              NetFailure(kNetResolver, kNetResolve, 1000 + std::abs(EAI_AGAIN)));
    EXPECT_EQ(families, (std::vector<int>{AF_INET, AF_INET6}));
    EXPECT_EQ(flags, (std::vector<int>(2, AI_ADDRCONFIG)));
    sNoInterfaces = false;
    sGetaddrinfo = nullptr;
}

TEST(CNetIntfFaults, AsksAgainWhereTheLoopbackIsAllThereIs)
{
    constexpr int kFirst = AI_ADDRCONFIG | AI_NUMERICSERV;
    constexpr int kNumber = AI_NUMERICHOST | AI_NUMERICSERV;
    using Asked = std::pair<int, int>;  // family and flags

    struct
    {
        char const* mWhat;
        bool mIsFourLoopback;
        bool mIsSixLoopback;
        std::vector<Asked> mAsked;
    } const cases[] = {
        {"both families lead out", false, false, {{AF_INET, kFirst}, {AF_INET6, kFirst}}},
        {"nothing leads out",
         true,
         true,
         {{AF_INET, kFirst},
          {AF_INET, AI_NUMERICSERV},
          {AF_INET6, kFirst},
          {AF_INET6, AI_NUMERICSERV}}},
        // An IPv4 address of a name would be of no use.
        {"IPv6 alone", true, false, {{AF_INET, kFirst}, {AF_INET, kNumber}, {AF_INET6, kFirst}}},
        {"IPv4 alone", false, true, {{AF_INET, kFirst}, {AF_INET6, kFirst}, {AF_INET6, kNumber}}},
    };

    if (!HasIPv6()) GTEST_SKIP() << "there is no ::1 here";
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        std::vector<Asked> asked;
        sIsLoopback = [&c](int family) {
            return family == AF_INET ? c.mIsFourLoopback : c.mIsSixLoopback;
        };
        sGetaddrinfo = [&asked](addrinfo const& hints) {
            asked.emplace_back(hints.ai_family, hints.ai_flags);
            return EAI_NONAME;
        };
        CNetConnection connection;
        EXPECT_EQ(FailureOf([&] { connection.ResolveRemoteHost("host", 80); }),
                  NetFailure(kNetResolver, kNetResolve, 1000 + std::abs(EAI_NONAME)));
        EXPECT_EQ(asked, c.mAsked);
        sIsLoopback = nullptr;
        sGetaddrinfo = nullptr;
    }
}

// The number that a blocked call holds isn't handed out to anybody else.
TEST(CNetIntfFaults, ACancelLeavesTheNumberToTheBlockedCall)
{
    Link link;
    std::promise<void> isReading;
    std::promise<void> goOn;
    int const before = CountDescriptors();
    Failure failure;
    std::thread reader([&] {
        sBeforeReceive = [&] {
            isReading.set_value();
            goOn.get_future().wait();
        };
        char byte = 0;
        unsigned int size = 1;
        failure = FailureOf([&] { link.mOurs->ReceiveData(&byte, size, 0); });
    });
    isReading.get_future().wait();
    int const place = 0;
    link.mOurs->CancelCurrentOperation(reinterpret_cast<CThread const*>(&place));
    EXPECT_EQ(CountDescriptors(), before);
    // All of the object is free for a new connection meanwhile.
    StPeer const listener = StPeer::Listening();
    link.mOurs->ResolveRemoteHost("127.0.0.1", listener.Port());
    link.mOurs->Connect(0);
    EXPECT_EQ(CountDescriptors(), before + 2);
    goOn.set_value();
    reader.join();
    EXPECT_EQ(failure, NetFailure(kNetBrokenPipe, kNetReceive, EPIPE));
    EXPECT_EQ(CountDescriptors(), before + 1);
    listener.Accept().Send("new\n");
    EXPECT_EQ(LineFrom(*link.mOurs), "new");
}

// A long line that comes byte by byte, on a small stack.
TEST(CNetIntfFaults, PiecesOfALineTakeNoStack)
{
    constexpr unsigned int kLength = 1 << 17;
    Link link;
    std::thread sender([&] { link.mPeer.Send(std::string(kLength - 1, 'x') + "\n"); });

    struct Work
    {
        CNetConnection& mConnection;
        std::string mLine;
        bool mIsWhole;
    } work{*link.mOurs, std::string(kLength, '\0'), false};

    auto const run = [](void* argument) -> void* {
        auto& mine = *static_cast<Work*>(argument);
        sUnreadIsOne = true;
        unsigned int size = kLength;
        mine.mIsWhole = mine.mConnection.ReceiveLine(mine.mLine.data(), size, 0);
        mine.mLine.resize(size);
        return nullptr;
    };
    pthread_attr_t small;
    pthread_attr_init(&small);
    pthread_attr_setstacksize(&small, std::size_t{512} * 1024);
    pthread_t reader{};
    ASSERT_EQ(pthread_create(&reader, &small, run, &work), 0);
    pthread_join(reader, nullptr);
    pthread_attr_destroy(&small);
    sender.join();
    EXPECT_TRUE(work.mIsWhole);
    EXPECT_EQ(work.mLine.find_first_not_of('x'), kLength - 1);
}
