#include "loamctl/CServer.h"

#include <exception>
#include <memory>
#include <utility>

#include <fmt/format.h>

#include "concurrency/StMutexLocker.h"
#include "foundation/FailureDomains.h"
#include "loamctl/CAnswerer.h"
#include "loamctl/CRunLog.h"
#include "loamctl/Interruption.h"
#include "loamctl/StartThread.h"
#include "marl/HierarchicalException.h"

namespace {

constexpr int kBacklog = 64;
constexpr double kPause = 0.1;  // seconds

std::string NameOf(CNetConnection& client)
{
    std::string host;
    unsigned short port = 0;
    client.GetPeerHost(&host, port);
    return fmt::format("client {} {}", host, port);
}

// What can't be stopped in an orderly way has been stopped all the same.
void Cancel(CNetConnection& connection, CThread const* thread)
{
    try {
        connection.CancelCurrentOperation(thread);
    } catch (HierarchicalException const&) {
    }
}

}  // namespace

class CServer::CAcceptor : public CThread
{
public:
    explicit CAcceptor(CServer& server)
        : CThread(&server.mAcceptor, &server.mMutex, &server.mAcceptorGone)
        , mServer(server)
    {
    }

    void* Run() override
    {
        mServer.TakeClients();
        return nullptr;
    }

private:
    CServer& mServer;
};

class CServer::CTalk : public CThread
{
public:
    CTalk(CServer& server, std::list<Client>::iterator client)
        : CThread(nullptr, nullptr, &server.mGone)
        , mServer(server)
        , mClient(client)
    {
    }

    void* Run() override
    {
        mServer.Talk(mClient);
        return nullptr;
    }

private:
    CServer& mServer;
    std::list<Client>::iterator mClient;
};

CServer::CServer(std::string root,
                 bool allInterfaces,
                 unsigned short firstPort,
                 unsigned short lastPort,
                 CRunLog& log)
    : mRoot(std::move(root))
    , mLog(log)
    , mPort(mListener.SetServerPort(allInterfaces, firstPort, lastPort, kBacklog))
{
}

CServer::~CServer()
{
    mListener.Disconnect();
}

void CServer::Run()
{
    StartThread(std::make_unique<CAcceptor>(*this));
    mAcceptorGone.Wait();
    for (int gone = 0; gone < mThreads; ++gone)
        mGone.Wait();
}

void CServer::Stop()
{
    StMutexLocker const lock(mMutex);
    mStopped = true;
    Cancel(mListener, mAcceptor);
    for (Client const& client : mClients)
        Cancel(*client.mConnection, client.mThread);
}

void CServer::TakeClients()
{
    for (;;) {
        std::unique_ptr<CNetConnection> connection;
        try {
            connection.reset(mListener.WaitClientConnection());
            Take(std::move(connection));
        } catch (HierarchicalException const& failure) {
            mLog.Say(fmt::format("no client: {}", failure.what()));
            auto const& level = failure.levels[0];
            if (level.signature == kNetConnectionDomain && level.category == kNetAborted) return;
            // There may be descriptors again.
            CThread::Sleep(kPause);
        }
        StMutexLocker const lock(mMutex);
        if (mStopped) return;
    }
}

void CServer::Take(std::unique_ptr<CNetConnection> connection)
{
    mLog.Say(NameOf(*connection));
    StMutexLocker const lock(mMutex);
    if (mStopped) return;
    if (mClients.size() == kMostClients) {
        CAnswerer(*connection, mRoot).Refuse("too many clients");
        return;
    }
    auto const client = mClients.insert(mClients.end(), Client{std::move(connection), nullptr});
    auto talk = std::make_unique<CTalk>(*this, client);
    client->mThread = talk.get();
    try {
        StartThread(std::move(talk));
        ++mThreads;
    } catch (HierarchicalException const&) {
        mClients.erase(client);
        throw;
    }
}

// Nothing that a client does ends more than its own connection.
void CServer::Talk(std::list<Client>::iterator client)
{
    try {
        CAnswerer(*client->mConnection, mRoot).Run();
        mLog.Say("a client has quit");
    } catch (std::exception const& error) {
        mLog.Say(fmt::format("a client has gone: {}", error.what()));
    }
    StMutexLocker const lock(mMutex);
    mClients.erase(client);
}
