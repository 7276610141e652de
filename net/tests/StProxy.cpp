#include "net/tests/StProxy.h"

#include <algorithm>
#include <stdexcept>

#include <poll.h>

StProxy::StProxy(unsigned short serverPort, ProxyBehaviour const& behaviour)
    : mBehaviour(behaviour)
    , mServerPort(serverPort)
    , mListener(StPeer::Listening())
    , mThread([this] { Run(); })
{
}

StProxy::~StProxy()
{
    mThread.join();
}

void StProxy::Run()
{
    StPeer client = mListener.Accept();
    StPeer server = StPeer::Connected(mServerPort);
    pollfd waits[] = {{client.Descriptor(), POLLIN, 0}, {server.Descriptor(), POLLIN, 0}};
    std::size_t handedOn = 0;
    char piece[4096];
    try {
        while (waits[0].fd != -1 || waits[1].fd != -1) {
            poll(waits, 2, -1);
            for (int i = 0; i < 2; ++i) {
                if (waits[i].revents == 0) continue;
                bool const isServer = i == 1;
                StPeer const& to = isServer ? client : server;
                std::size_t const room = isServer ? mBehaviour.mPiece : sizeof piece;
                ssize_t const count = recv(waits[i].fd, piece, std::min(room, sizeof piece), 0);
                if (count <= 0) {
                    to.HalfClose();
                    waits[i].fd = -1;
                    continue;
                }
                to.Send(std::string(piece, static_cast<std::size_t>(count)));
                if (!isServer) continue;
                handedOn += static_cast<std::size_t>(count);
                if (mBehaviour.mResetAfter != 0 && handedOn >= mBehaviour.mResetAfter) {
                    client.Reset();
                    server.Reset();
                    return;
                }
                if (mBehaviour.mPause > 0) poll(nullptr, 0, mBehaviour.mPause);
            }
        }
    } catch (std::runtime_error const&) {
        // One of them has gone, and the other one hears of it now.
    }
}
