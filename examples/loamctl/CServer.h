// Takes clients over TCP and answers each on a thread of its own, until it is told to stop.
#pragma once

#include <list>
#include <memory>
#include <string>

#include "concurrency/CMutex.h"
#include "concurrency/CSemaphore.h"
#include "concurrency/CThread.h"
#include "net/CNetConnection.h"

class CRunLog;

class CServer
{
public:
    /// More clients at a time are turned away.
    static constexpr std::size_t kMostClients = 64;

    /// Serves the first free port from `firstPort` on. `root` as `CAnswerer` takes it; `log` lives
    /// as long. Throws what `CNetConnection` throws.
    CServer(std::string root,
            bool allInterfaces,
            unsigned short firstPort,
            unsigned short lastPort,
            CRunLog& log);
    CServer(CServer const&) = delete;
    CServer& operator=(CServer const&) = delete;
    ~CServer();

    unsigned short GetPort() const { return mPort; }

    /// Takes clients until `Stop`, and comes back when the last of them has gone.
    void Run();
    /// Ends all that clients and the server are at. From any thread, as often as one likes.
    void Stop();

private:
    class CAcceptor;
    class CTalk;

    struct Client
    {
        std::unique_ptr<CNetConnection> mConnection;
        CThread* mThread = nullptr;  // not owned; null before the start
    };

    void TakeClients();
    void Take(std::unique_ptr<CNetConnection> connection);
    void Talk(std::list<Client>::iterator client);

    std::string mRoot;
    CRunLog& mLog;
    CNetConnection mListener;
    unsigned short mPort;
    CMutex mMutex;
    CThread* mAcceptor = nullptr;  // guarded by mMutex; null once it has gone
    std::list<Client> mClients;    // guarded by mMutex
    bool mStopped = false;         // guarded by mMutex
    CSemaphore mAcceptorGone;
    CSemaphore mGone;  // one for each client's thread that has gone
    int mThreads = 0;  // of clients, that were started; of the acceptor, and then of Run
};
