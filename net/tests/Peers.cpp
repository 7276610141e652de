#include "net/tests/Peers.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

long Checked(char const* what, long result)
{
    if (result == -1) throw std::runtime_error(std::string(what) + ": " + std::strerror(errno));
    return result;
}

struct Address
{
    Address(int family, unsigned short port)
    {
        if (family == AF_INET6) {
            sockaddr_in6 six = {};
            six.sin6_family = AF_INET6;
            six.sin6_port = htons(port);
            six.sin6_addr = in6addr_loopback;
            std::memcpy(&mStorage, &six, mLength = sizeof six);
        } else {
            sockaddr_in four = {};
            four.sin_family = AF_INET;
            four.sin_port = htons(port);
            four.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
            std::memcpy(&mStorage, &four, mLength = sizeof four);
        }
    }

    sockaddr* Get() { return reinterpret_cast<sockaddr*>(&mStorage); }

    sockaddr_storage mStorage = {};
    socklen_t mLength;
};

StPeer NewPeer(int family)
{
    return StPeer(
        static_cast<int>(Checked("socket", socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0))));
}

}  // namespace

StPeer::StPeer(int descriptor)
    : mDescriptor(descriptor)
{
}

StPeer::StPeer(StPeer&& other) noexcept
    : mDescriptor(std::exchange(other.mDescriptor, -1))
{
}

StPeer& StPeer::operator=(StPeer&& other) noexcept
{
    std::swap(mDescriptor, other.mDescriptor);
    return *this;
}

StPeer::~StPeer()
{
    Close();
}

StPeer StPeer::Listening(int family, unsigned short port, int backlog)
{
    StPeer peer = NewPeer(family);
    Address address(family, port);
    Checked("bind", bind(peer.mDescriptor, address.Get(), address.mLength));
    Checked("listen", listen(peer.mDescriptor, backlog));
    return peer;
}

StPeer StPeer::Connected(unsigned short port, int family)
{
    StPeer peer = NewPeer(family);
    Address address(family, port);
    Checked("connect", connect(peer.mDescriptor, address.Get(), address.mLength));
    return peer;
}

unsigned short StPeer::Port() const
{
    Address address(AF_INET6, 0);
    Checked("getsockname", getsockname(mDescriptor, address.Get(), &address.mLength));
    // Both families have it in the same place.
    sockaddr_in four;
    std::memcpy(&four, &address.mStorage, sizeof four);
    return ntohs(four.sin_port);
}

StPeer StPeer::Accept() const
{
    return StPeer(
        static_cast<int>(Checked("accept", accept4(mDescriptor, nullptr, nullptr, SOCK_CLOEXEC))));
}

void StPeer::Send(std::string const& bytes) const
{
    for (std::size_t done = 0; done < bytes.size();)
        done += static_cast<std::size_t>(Checked(
            "send", send(mDescriptor, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL)));
}

std::string StPeer::Receive(std::size_t count) const
{
    std::string bytes(count, '\0');
    std::size_t done = 0;
    while (done < count) {
        auto const part = Checked("recv", recv(mDescriptor, &bytes[done], count - done, 0));
        if (part == 0) break;
        done += static_cast<std::size_t>(part);
    }
    bytes.resize(done);
    return bytes;
}

std::string StPeer::ReceiveSome() const
{
    char part[4096];
    return {part,
            static_cast<std::size_t>(Checked("recv", recv(mDescriptor, part, sizeof part, 0)))};
}

std::string StPeer::ReceiveAll() const
{
    std::string bytes;
    for (std::string part; !(part = ReceiveSome()).empty();)
        bytes += part;
    return bytes;
}

void StPeer::HalfClose() const
{
    Checked("shutdown", shutdown(mDescriptor, SHUT_WR));
}

void StPeer::Reset()
{
    linger const now = {1, 0};
    Checked("setsockopt", setsockopt(mDescriptor, SOL_SOCKET, SO_LINGER, &now, sizeof now));
    Close();
}

void StPeer::Close()
{
    if (mDescriptor != -1) close(std::exchange(mDescriptor, -1));
}

Link::Link()
    : mOurs(std::make_unique<CNetConnection>())
    , mPeer(-1)
{
    StPeer const listener = StPeer::Listening();
    ConnectTo(*mOurs, listener.Port());
    mPeer = listener.Accept();
}

void ConnectTo(CNetConnection& connection, unsigned short port, char const* host)
{
    connection.ResolveRemoteHost(host, port);
    connection.Connect(0);
}

std::string ReceiveFrom(CNetConnection& connection, unsigned int size)
{
    std::string bytes(size, '\0');
    connection.ReceiveData(bytes.data(), size, 0);
    bytes.resize(size);
    return bytes;
}

std::string LineFrom(CNetConnection& connection, unsigned int maxLength)
{
    std::string line;
    connection.ReceiveLine(&line, 0, maxLength);
    return line;
}

void SendAll(CNetConnection& connection, std::string const& bytes)
{
    for (std::size_t done = 0; done < bytes.size();)
        done += connection.SendData(bytes.data() + done,
                                    static_cast<unsigned int>(bytes.size() - done), 0);
}

bool HasIPv6()
{
    try {
        StPeer::Listening(AF_INET6);
        return true;
    } catch (std::runtime_error const&) {
        return false;
    }
}

pid_t ThisThread()
{
    return static_cast<pid_t>(syscall(SYS_gettid));
}

void AwaitCall(pid_t thread, long call)
{
    std::string const path = "/proc/self/task/" + std::to_string(thread) + "/syscall";
    for (;;) {
        std::ifstream file(path);
        long found = -1;
        if (file >> found && found == call) return;
        std::this_thread::yield();
    }
}

long PollCall()
{
#ifdef SYS_poll
    return SYS_poll;
#else
    return SYS_ppoll;
#endif
}

StManyDescriptors::StManyDescriptors()
{
    getrlimit(RLIMIT_NOFILE, &mFormer);
    rlimit wider = mFormer;
    wider.rlim_cur = std::min<rlim_t>(4096, mFormer.rlim_max);
    setrlimit(RLIMIT_NOFILE, &wider);
    while (!AreEnough()) {
        int const descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
        if (descriptor == -1) break;
        mDescriptors.push_back(descriptor);
    }
}

StManyDescriptors::~StManyDescriptors()
{
    for (int const descriptor : mDescriptors)
        close(descriptor);
    setrlimit(RLIMIT_NOFILE, &mFormer);
}

bool StManyDescriptors::AreEnough() const
{
    return mDescriptors.size() == 1200;
}

int CountDescriptors()
{
    std::filesystem::directory_iterator const descriptors("/proc/self/fd");
    return static_cast<int>(std::distance(begin(descriptors), end(descriptors)));
}
