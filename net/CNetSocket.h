// A socket that one thread works with and any other may take away.
//
//     CNetSocket::StUse const use(mSocket);
//     read(use.Get(), ...);       // the number stays this socket's until `use` goes
//
// A descriptor is closed when it has been given up and the last call on it has left: a number that
// a blocked call still holds is never the system's to hand out again. Calls come and go without a
// lock.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <vector>

/// For any number of threads. 0 means no socket; a descriptor of that number has no place here.
class CNetSocket
{
public:
    CNetSocket() = default;
    CNetSocket(CNetSocket const&) = delete;
    CNetSocket& operator=(CNetSocket const&) = delete;
    /// No call may be left. A descriptor that was never given up stays open.
    ~CNetSocket() = default;

    /// Takes over `descriptor`, and gives up the one that was there.
    void Set(int descriptor);
    /// Gives up the descriptor, if there is one. The error of closing it, 0 if there was none or if
    /// a call holds it still.
    int Close();

    /// A call on the socket.
    class StUse
    {
    public:
        explicit StUse(CNetSocket& socket);
        StUse(StUse const&) = delete;
        StUse& operator=(StUse const&) = delete;
        /// Closes the descriptor if it was given up and nobody else holds it.
        ~StUse();

        /// 0 if there is no socket.
        int Get() const { return mDescriptor; }

        /// False as soon as somebody has given the socket up.
        bool IsCurrent() const;
        /// Gives up this very socket, if nobody has done so.
        void GiveUp() const;

        /// The seconds that receiving and sending wait, as they were set last.
        std::atomic<unsigned int>& ReceiveTimeout() const { return mSocket.mReceiveTimeout; }

        std::atomic<unsigned int>& SendTimeout() const { return mSocket.mSendTimeout; }

    private:
        CNetSocket& mSocket;
        int mDescriptor;
    };

private:
    // A descriptor that was given up, and the calls that are still on it.
    struct Retired
    {
        int mDescriptor;
        std::uint32_t mCalls;
    };

    void Retire(std::uint64_t state);
    void LeaveRetired(int descriptor);

    // The descriptor in the upper half, 0 for none, and the calls on it in the lower one.
    std::atomic<std::uint64_t> mState{0};
    std::mutex mMutex;              // held where a descriptor is taken out of mState
    std::vector<Retired> mRetired;  // guarded by mMutex
    // As a new socket has them.
    std::atomic<unsigned int> mReceiveTimeout{0};
    std::atomic<unsigned int> mSendTimeout{0};
};
