#include "net/CNetIntf.h"

#include "foundation/FailureCategories.h"
#include "foundation/FailureDomains.h"
#include "marl/HierarchicalException.h"
#include "net/StNetDescriptor.h"
#include "net/platform/NetSockets.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <typeinfo>

#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

// Adds a part to a whole at the end of a scope, however it is left.
struct StTally
{
    ~StTally() { mWhole += mPart; }

    unsigned int& mWhole;
    unsigned int mPart;
};

int DescriptorOf(CNetSocket::StUse const& use, int operation)
{
    if (use.Get() == 0) CNetIntf::ThrowNetConnectionException(EBADF, operation);
    return use.Get();
}

// Sets SO_RCVTIMEO or SO_SNDTIMEO, unless it stands at that already.
void SetTimeout(int descriptor,
                int option,
                unsigned int seconds,
                std::atomic<unsigned int>& current,
                int operation)
{
    if (seconds == current.load(std::memory_order_relaxed)) return;
    timeval time = {};
    time.tv_sec = static_cast<time_t>(seconds);
    if (setsockopt(descriptor, SOL_SOCKET, option, &time, sizeof time) == -1)
        CNetIntf::ThrowNetConnectionException(errno, operation);
    current.store(seconds, std::memory_order_relaxed);
}

// Milliseconds for `poll`. The limit is 24 days.
int PollTime(unsigned int seconds)
{
    if (seconds == 0) return -1;
    return static_cast<int>(std::min(seconds, static_cast<unsigned int>(INT_MAX) / 1000) * 1000);
}

// Waits until a connection in progress stands. The error, or 0.
int AwaitConnection(int descriptor, unsigned int timeoutSeconds)
{
    pollfd wait = {descriptor, POLLOUT, 0};
    int const ready = poll(&wait, 1, PollTime(timeoutSeconds));
    if (ready == 0) return ETIMEDOUT;
    if (ready == -1) return errno;
    int error = 0;
    socklen_t length = sizeof error;
    if (getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &length) == -1) return errno;
    return error;
}

}  // namespace

CNetIntf::CNetIntf(CNetConnection* owner)
    : mOwner(owner)
{
    std::signal(SIGPIPE, SIG_IGN);
}

// Kept on purpose: a server goes on listening.
CNetIntf::~CNetIntf()
{
    if (mAddrInfo) freeaddrinfo(mAddrInfo);
    mSocket.Close();
}

// Nothing of the thread that is blocked is touched but its sockets: those of the connection for
// good, and those of the server as far as it takes to wake it.
//
// Kept on purpose: what was read ahead can still be received, and the port isn't asked for again.
void CNetIntf::CancelCurrentOperation()
{
    {
        CNetSocket::StUse const use(mSocket);
        if (use.Get() != 0) {
            shutdown(use.Get(), SHUT_RDWR);
            use.GiveUp();
        }
    }
    if (int const error = StopServer()) ThrowNetConnectionException(error, kNetDisconnect);
}

void CNetIntf::Connect(unsigned int timeoutSeconds)
{
    if (!mAddrInfo) ThrowNetConnectionException(1, kNetConnect);
    int error = 0;
    for (addrinfo const* address = mAddrInfo; address; address = address->ai_next) {
        error = ConnectTo(*address, timeoutSeconds);
        if (error == 0) {
            mLineBufferCount = 0;
            return;
        }
    }
    ThrowNetConnectionException(error, kNetConnect);
}

// The error of an address that can't be had, so that the next one is tried; 0 once connected. All
// other failures end the work.
int CNetIntf::ConnectTo(addrinfo const& address, unsigned int timeoutSeconds)
{
    StNetDescriptor descriptor(
        NewSocket(address.ai_family, address.ai_socktype, address.ai_protocol));
    if (descriptor.Get() == -1) ThrowNetConnectionException(errno, kNetResolve);
    mSocket.Set(descriptor.Release());
    CNetSocket::StUse const use(mSocket);
    auto const drop = [&use](int error) {
        use.GiveUp();
        ThrowNetConnectionException(error, kNetConnect);
    };
    // A cancel was quicker.
    if (use.Get() == 0) drop(ECONNABORTED);

    // Kept on purpose: it takes as long as the system wants, whatever time the caller gives it.
    int const flags = fcntl(use.Get(), F_GETFL);
    if (flags == -1 || fcntl(use.Get(), F_SETFL, flags & ~O_NONBLOCK) == -1) drop(errno);
    int const error = connect(use.Get(), address.ai_addr, address.ai_addrlen) == -1 ? errno : 0;
    if (fcntl(use.Get(), F_SETFL, flags) == -1) drop(errno);
    // The next address is not for a caller who wants none.
    if (!use.IsCurrent()) drop(error == 0 ? ECONNABORTED : error);
    if (error != 0 && error != EINPROGRESS) {
        use.GiveUp();
        return error;
    }

    if (int const late = AwaitConnection(use.Get(), timeoutSeconds)) drop(late);
    return 0;
}

void CNetIntf::Disconnect()
{
    if (int const error = mSocket.Close()) ThrowNetConnectionException(error, kNetDisconnect);
    if (int const error = StopServer()) ThrowNetConnectionException(error, kNetDisconnect);
    mLineBufferCount = 0;
    if (mServerPort == 0) return;
    mReuseRequested = true;
    mReusePort = mServerPort;
}

unsigned int CNetIntf::SendData(char const* data, unsigned int size, unsigned int timeoutSeconds)
{
    CNetSocket::StUse const use(mSocket);
    int const descriptor = DescriptorOf(use, kNetSend);
    SetTimeout(descriptor, SO_SNDTIMEO, timeoutSeconds, use.SendTimeout(), kNetSend);
    // `send` and `recv` without flags do what `write` and `read` do, on a shorter way through the
    // system.
    ssize_t const count = send(descriptor, data, size, 0);
    if (count == -1) ThrowNetConnectionException(errno, kNetSend);
    return static_cast<unsigned int>(count);
}

void CNetIntf::ReceiveData(char* buffer, unsigned int& size, unsigned int timeoutSeconds)
{
    unsigned int const wish = size;
    if (wish == 0) return;
    if (mLineBufferCount > 0) {
        size = TakeHeld(buffer, wish);
        if (size == wish) return;
        // Kept on purpose: at the end of the stream it throws, although bytes were moved.
        StTally rest{size, wish - size};
        ReceiveData(buffer + size, rest.mPart, timeoutSeconds);
        return;
    }

    size = 0;
    CNetSocket::StUse const use(mSocket);
    int const descriptor = DescriptorOf(use, kNetReceive);
    SetTimeout(descriptor, SO_RCVTIMEO, timeoutSeconds, use.ReceiveTimeout(), kNetReceive);
    while (size < wish) {
        ssize_t const count = recv(descriptor, buffer + size, wish - size, 0);
        if (count == -1) ThrowNetConnectionException(errno, kNetReceive);
        if (count == 0 && size == 0) ThrowNetConnectionException(EPIPE, kNetReceive);
        if (count == 0) return;
        size += static_cast<unsigned int>(count);
    }
}

bool CNetIntf::ReceiveLine(char* buffer, unsigned int& size, unsigned int timeoutSeconds)
{
    unsigned int const room = size;
    size = 0;
    for (;;) {
        unsigned int const left = room - size;
        auto const held = static_cast<unsigned int>(mLineBufferCount);
        unsigned int const length = LengthOfLineHeld();
        bool const fits = length != 0 && left >= length;
        {
            StTally part{size, fits ? length : std::min(held, left)};
            ReceiveData(buffer + size, part.mPart, timeoutSeconds);
        }
        if (length != 0 || held >= left) return fits;

        ReadAhead(timeoutSeconds);
        // The rest is a call like this one, which a subclass may answer in its own way. Made by
        // ourselves, it takes no stack, however small the pieces that a peer sends.
        if (typeid(*this) == typeid(CNetIntf)) continue;
        StTally rest{size, room - size};
        return ReceiveLine(buffer + size, rest.mPart, timeoutSeconds);
    }
}

unsigned int CNetIntf::GetAmountUnread()
{
    CNetSocket::StUse const use(mSocket);
    int count = 0;
    if (ioctl(DescriptorOf(use, kNetReceive), FIONREAD, &count) == -1)
        ThrowNetConnectionException(errno, kNetReceive);
    return static_cast<unsigned int>(count + mLineBufferCount);
}

// Kept on purpose: the state of a connection was never told.
int CNetIntf::GetStatus()
{
    return 8;
}

bool CNetIntf::IsLineWaiting()
{
    if (LengthOfLineHeld() != 0) return true;
    CNetSocket::StUse const use(mSocket);
    if (use.Get() == 0) return false;
    // The system shows what it holds from the start each time, so that room grows by factors.
    std::string waiting;
    for (std::size_t room = kReadAhead;; room *= 16) {
        waiting.resize(room);
        ssize_t const count = recv(use.Get(), waiting.data(), room, MSG_PEEK | MSG_DONTWAIT);
        if (count <= 0) return false;
        if (std::memchr(waiting.data(), '\n', static_cast<std::size_t>(count))) return true;
        if (static_cast<std::size_t>(count) < room) return false;
    }
}

void CNetIntf::ThrowNetConnectionException(int error, int operation)
{
    throw HierarchicalException(kNetConnectionDomain, NetCategoryOf(error), operation, error,
                                nullptr);
}

// With its line feed; 0 if no line ends in what was read ahead.
unsigned int CNetIntf::LengthOfLineHeld() const
{
    auto const* const end = static_cast<char const*>(
        std::memchr(mLineBuffer, '\n', static_cast<std::size_t>(mLineBufferCount)));
    return end ? static_cast<unsigned int>(end - mLineBuffer) + 1 : 0;
}

// Up to `limit` of the bytes read ahead, of which there are some.
unsigned int CNetIntf::TakeHeld(char* buffer, unsigned int limit)
{
    unsigned int const count = std::min(limit, static_cast<unsigned int>(mLineBufferCount));
    std::memcpy(buffer, mLineBuffer, count);
    mLineBufferCount -= static_cast<int>(count);
    std::memmove(mLineBuffer, mLineBuffer + count, static_cast<std::size_t>(mLineBufferCount));
    return count;
}

// Called with nothing held. Takes what is there, so that it waits only for the first byte.
void CNetIntf::ReadAhead(unsigned int timeoutSeconds)
{
    unsigned int count = std::clamp(GetAmountUnread(), 1U, kReadAhead);
    try {
        ReceiveData(mLineBuffer, count, timeoutSeconds);
    } catch (HierarchicalException const&) {
        mLineBufferCount = static_cast<int>(count);
        throw;
    }
    mLineBufferCount = static_cast<int>(count);
}
