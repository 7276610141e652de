// A proxy that is slow, or breaks off.
#pragma once

#include <cstddef>
#include <thread>

#include "net/tests/Peers.h"

/// How a proxy treats what the server sends.
struct ProxyBehaviour
{
    std::size_t mPiece = 4096;    // bytes handed on at once
    int mPause = 0;               // milliseconds after each piece
    std::size_t mResetAfter = 0;  // bytes, then both sides get a reset; 0 for never
};

/// Takes one client on a port of 127.0.0.1 and connects it to a server there. Hands on the end of
/// either direction by itself.
class StProxy
{
public:
    StProxy(unsigned short serverPort, ProxyBehaviour const& behaviour);
    StProxy(StProxy const&) = delete;
    StProxy& operator=(StProxy const&) = delete;
    /// Waits until both sides have ended, or have been reset.
    ~StProxy();

    unsigned short Port() const { return mListener.Port(); }

private:
    void Run();

    ProxyBehaviour mBehaviour;
    unsigned short mServerPort;
    StPeer mListener;
    std::thread mThread;
};
