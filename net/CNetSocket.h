// A socket that one thread works with and any other may take away.
//
//     CNetSocket::StUse const use(mSocket);
//     read(use.Get(), ...);       // the number stays this socket's until `use` goes
//
// A descriptor is closed when it has been given up and the last call on it has left: a number that
// a blocked call still holds is never the system's to hand out again.
#pragma once

#include <mutex>

/// For any number of threads. 0 means no socket; a descriptor of that number has no place here.
class CNetSocket
{
    struct Shared;

public:
    CNetSocket() = default;
    CNetSocket(CNetSocket const&) = delete;
    CNetSocket& operator=(CNetSocket const&) = delete;
    /// No call may be left. A descriptor that was never given up stays open.
    ~CNetSocket();

    /// Takes over `descriptor`, and gives up the one that was there. If it throws, `descriptor` is
    /// still the caller's.
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
        int Get() const;
        /// False as soon as somebody has given the socket up.
        bool IsCurrent() const;
        /// Gives up this very socket, if nobody has done so.
        void GiveUp() const;
        /// The seconds that receiving and sending wait, as they were set last. For the thread that
        /// does so; only with a socket.
        unsigned int& ReceiveTimeout() const;
        unsigned int& SendTimeout() const;

    private:
        CNetSocket& mSocket;
        Shared* mShared;  // lives as long as this use; null without a socket
    };

private:
    std::mutex mMutex;
    Shared* mShared = nullptr;  // held together with the calls; guarded by mMutex
};
