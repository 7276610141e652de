// The other ends of connections under test, over plain sockets of this machine.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/types.h>

#include "net/CNetConnection.h"

/// A plain stream socket that closes itself. What goes wrong throws `std::runtime_error`.
class StPeer
{
public:
    /// A socket that listens on a port of the loopback, which the system chooses if it is 0.
    static StPeer Listening(int family = AF_INET, unsigned short port = 0, int backlog = 16);
    static StPeer Connected(unsigned short port, int family = AF_INET);
    explicit StPeer(int descriptor);
    StPeer(StPeer&& other) noexcept;
    StPeer& operator=(StPeer&& other) noexcept;
    ~StPeer();

    int Descriptor() const { return mDescriptor; }

    unsigned short Port() const;
    StPeer Accept() const;
    void Send(std::string const& bytes) const;
    /// Receives so many bytes, or fewer where the stream ends before.
    std::string Receive(std::size_t count) const;
    /// What is there, waiting for the first byte; empty at the end of the stream.
    std::string ReceiveSome() const;
    /// To the end of the stream.
    std::string ReceiveAll() const;
    /// Ends what it sends.
    void HalfClose() const;
    /// Closes with a reset.
    void Reset();
    void Close();

private:
    int mDescriptor;
};

/// A connection and its peer.
struct Link
{
    Link();

    std::unique_ptr<CNetConnection> mOurs;
    StPeer mPeer;
};

/// Connects to a port of 127.0.0.1, or of ::1.
void ConnectTo(CNetConnection& connection, unsigned short port, char const* host = "127.0.0.1");

/// Receives into a string. `size` bytes are asked for.
std::string ReceiveFrom(CNetConnection& connection, unsigned int size);
std::string LineFrom(CNetConnection& connection, unsigned int maxLength = 0);
/// Sends all, however much it takes at once.
void SendAll(CNetConnection& connection, std::string const& bytes);

/// Whether ::1 can be had.
bool HasIPv6();

/// The calling thread, for `AwaitCall`.
pid_t ThisThread();
/// Returns once a thread of this process stands in a call of the system, told by its number.
void AwaitCall(pid_t thread, long call);
/// The number of the call that `poll` makes here.
long PollCall();

/// Descriptors up to beyond the 1024 that `select` can name.
class StManyDescriptors
{
public:
    StManyDescriptors();
    StManyDescriptors(StManyDescriptors const&) = delete;
    StManyDescriptors& operator=(StManyDescriptors const&) = delete;
    ~StManyDescriptors();

    /// False where so many aren't allowed.
    bool AreEnough() const;

private:
    rlimit mFormer = {};
    std::vector<int> mDescriptors;
};

/// The number of descriptors that this process has open.
int CountDescriptors();
