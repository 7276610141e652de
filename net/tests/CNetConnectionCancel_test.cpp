// Calls that another thread ends, many of them, and what they leave behind.
#include "net/CNetConnection.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <functional>
#include <future>
#include <thread>

#include <gtest/gtest.h>
#include <sys/syscall.h>

#include "net/tests/Peers.h"
#include "testing/FailureOf.h"

namespace {

// Any will do: it isn't looked at.
CThread const* SomeThread()
{
    static int const place = 0;
    return reinterpret_cast<CThread const*>(&place);
}

Failure NetFailure(int category, int context, int osError)
{
    return {kNetConnectionDomain, category, context, osError};
}

// Runs `action` on a thread of its own, cancels it once that stands in `call`, and answers what was
// thrown.
Failure CancelIn(long call, CNetConnection& connection, std::function<void()> const& action)
{
    std::promise<pid_t> id;
    Failure failure;
    std::thread blocked([&] {
        id.set_value(ThisThread());
        failure = FailureOf(action);
    });
    AwaitCall(id.get_future().get(), call);
    connection.CancelCurrentOperation(SomeThread());
    blocked.join();
    return failure;
}

// Serves until it is cancelled: sends back each line. One thread a client.
void ServeEcho(CNetConnection& server)
{
    std::vector<std::thread> threads;
    for (;;) {
        std::shared_ptr<CNetConnection> client;
        if (FailureOf([&] { client.reset(server.WaitClientConnection()); }) != Failure()) break;
        threads.emplace_back([client] {
            FailureOf([&] {
                for (;;)
                    SendAll(*client, LineFrom(*client) + "\n");
            });
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

class StEchoServer
{
public:
    StEchoServer()
        : mPort(mServer.SetServerPort(false, 0, 0, 64))
        , mThread([this] { ServeEcho(mServer); })
    {
    }

    StEchoServer(StEchoServer const&) = delete;
    StEchoServer& operator=(StEchoServer const&) = delete;

    ~StEchoServer()
    {
        mServer.CancelCurrentOperation(SomeThread());
        mThread.join();
    }

    unsigned short Port() const { return mPort; }

private:
    CNetConnection mServer;
    unsigned short mPort;
    std::thread mThread;
};

}  // namespace

TEST(CNetConnectionCancel, LeavesAllAloneWithoutAThread)
{
    Link link;
    link.mOurs->CancelCurrentOperation(nullptr);
    link.mOurs->SendData("alive", 0);
    EXPECT_EQ(link.mPeer.Receive(5), "alive");
}

TEST(CNetConnectionCancel, KeepsWhatWasReadAhead)
{
    Link link;
    link.mPeer.Send("line\nbehind");
    while (link.mOurs->GetAmountUnread() < 11)
        std::this_thread::yield();
    EXPECT_EQ(LineFrom(*link.mOurs), "line");
    link.mOurs->CancelCurrentOperation(SomeThread());
    EXPECT_EQ(ReceiveFrom(*link.mOurs, 6), "behind");
    EXPECT_EQ(FailureOf([&] { ReceiveFrom(*link.mOurs, 1); }),
              NetFailure(kOtherFailure, kNetReceive, EBADF));
}

TEST(CNetConnectionCancel, EndsAReceive)
{
    Link link;
    char buffer[10];
    unsigned int size = 10;
    EXPECT_EQ(
        CancelIn(SYS_recvfrom, *link.mOurs, [&] { link.mOurs->ReceiveData(buffer, size, 0); }),
        NetFailure(kNetBrokenPipe, kNetReceive, EPIPE));
    EXPECT_EQ(link.mPeer.ReceiveAll(), "");
    EXPECT_EQ(FailureOf([&] { link.mOurs->GetAmountUnread(); }).mOSError, EBADF);
}

TEST(CNetConnectionCancel, LeavesWhatHadCome)
{
    Link link;
    link.mPeer.Send("four");
    char buffer[10];
    unsigned int size = 10;
    EXPECT_EQ(
        CancelIn(SYS_recvfrom, *link.mOurs, [&] { link.mOurs->ReceiveData(buffer, size, 60); }),
        Failure());
    EXPECT_EQ(std::string(buffer, size), "four");
}

TEST(CNetConnectionCancel, EndsALine)
{
    Link link;
    link.mPeer.Send("no end");
    std::string line;
    // The bytes that are there come first.
    while (link.mOurs->GetAmountUnread() < 6)
        std::this_thread::yield();
    EXPECT_EQ(CancelIn(SYS_recvfrom, *link.mOurs, [&] { link.mOurs->ReceiveLine(&line, 0, 0); }),
              NetFailure(kNetBrokenPipe, kNetReceive, EPIPE));
    EXPECT_EQ(line, "no end");
}

// The peer never reads.
TEST(CNetConnectionCancel, EndsASend)
{
    Link link;
    std::string const much(1 << 20, 'x');
    Failure const failure = CancelIn(SYS_sendto, *link.mOurs, [&] {
        for (;;)
            link.mOurs->SendData(much, 0);
    });
    EXPECT_EQ(failure.mContext, kNetSend);
}

TEST(CNetConnectionCancel, EndsAWaitForClients)
{
    for (bool const all : {false, true}) {
        SCOPED_TRACE(all);
        int const before = CountDescriptors();
        CNetConnection server;
        unsigned short const port = server.SetServerPort(all, 0, 0, 5);
        EXPECT_EQ(CancelIn(PollCall(), server, [&] { delete server.WaitClientConnection(); }),
                  NetFailure(kNetAborted, kNetWaitClient, -1));
        EXPECT_EQ(CountDescriptors(), before);
        // Gone for good.
        EXPECT_EQ(FailureOf([&] { server.WaitClientConnection(); }),
                  NetFailure(kNetAborted, kNetWaitClient, -1));
        EXPECT_THROW(StPeer::Connected(port), std::runtime_error);
    }
}

TEST(CNetConnectionCancel, IsNotMissedByAWaitThatComesLater)
{
    CNetConnection server;
    server.SetServerPort(false, 0, 0, 5);
    server.CancelCurrentOperation(SomeThread());
    EXPECT_EQ(FailureOf([&] { server.WaitClientConnection(); }),
              NetFailure(kNetAborted, kNetWaitClient, -1));
}

TEST(CNetConnectionCancel, LetsADisconnectEndAWaitToo)
{
    CNetConnection server;
    server.SetServerPort(false, 0, 0, 5);
    std::promise<pid_t> id;
    Failure failure;
    std::thread blocked([&] {
        id.set_value(ThisThread());
        failure = FailureOf([&] { delete server.WaitClientConnection(); });
    });
    AwaitCall(id.get_future().get(), PollCall());
    server.Disconnect();
    blocked.join();
    EXPECT_EQ(failure, NetFailure(kNetAborted, kNetWaitClient, -1));
}

// A queue that is full answers nobody, so that the system goes on asking.
TEST(CNetConnectionCancel, EndsAConnect)
{
    StPeer const listener = StPeer::Listening(AF_INET, 0, 0);
    StPeer const first = StPeer::Connected(listener.Port());
    int const before = CountDescriptors();
    CNetConnection connection;
    connection.ResolveRemoteHost("127.0.0.1", listener.Port());
    Failure const failure = CancelIn(SYS_connect, connection, [&] { connection.Connect(1); });
    EXPECT_EQ(failure.mContext, kNetConnect);
    EXPECT_EQ(CountDescriptors(), before);
}

TEST(CNetConnectionCancel, LetsTheObjectBeUsedAgain)
{
    StEchoServer const server;
    CNetConnection connection;
    connection.ResolveRemoteHost("127.0.0.1", server.Port());
    for (int i = 0; i < 100; ++i) {
        connection.Connect(0);
        connection.SendData("round\n", 0);
        ASSERT_EQ(LineFrom(connection), "round");
        std::string line;
        ASSERT_EQ(CancelIn(SYS_recvfrom, connection, [&] { connection.ReceiveLine(&line, 0, 0); }),
                  NetFailure(kNetBrokenPipe, kNetReceive, EPIPE));
    }
}

TEST(CNetConnectionCancel, ManyThreadsTalkAtOnce)
{
    StEchoServer const server;
    std::vector<std::thread> threads;
    int good[8] = {};
    for (int& count : good) {
        threads.emplace_back([&server, &count] {
            CNetConnection connection;
            ConnectTo(connection, server.Port());
            for (int i = 0; i < 200; ++i) {
                std::string const line = "line " + std::to_string(i);
                SendAll(connection, line + "\n");
                if (LineFrom(connection) == line) ++count;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(std::count(std::begin(good), std::end(good), 200), 8);
}

// A cancel that comes at any moment of a call ends it, or the next one.
TEST(CNetConnectionCancel, MayComeAtAnyMoment)
{
    StEchoServer const server;
    int ended = 0;
    for (int i = 0; i < 150; ++i) {
        CNetConnection connection;
        ConnectTo(connection, server.Port());
        std::atomic<int> lines{0};
        std::thread talker([&] {
            Failure const failure = FailureOf([&] {
                for (;;) {
                    connection.SendData("line\n", 0);
                    LineFrom(connection);
                    ++lines;
                }
            });
            if (failure.mDomain == kNetConnectionDomain) ++ended;
        });
        while (lines < i % 4)
            std::this_thread::yield();
        for (int spin = 0; spin < 200 * i && lines < 4; ++spin) {}
        connection.CancelCurrentOperation(SomeThread());
        talker.join();
    }
    EXPECT_EQ(ended, 150);
}

TEST(CNetConnectionCancel, AThousandConnectionsLeaveNoDescriptor)
{
    int const before = CountDescriptors();
    CNetConnection server;
    unsigned short const port = server.SetServerPort(false, 0, 0, 64);
    int served = 0;
    std::thread accepter([&] {
        FailureOf([&] {
            for (;;) {
                std::unique_ptr<CNetConnection> const client(server.WaitClientConnection());
                if (LineFrom(*client) == "hello") ++served;
            }
        });
    });
    for (int i = 0; i < 1000; ++i) {
        CNetConnection connection;
        ConnectTo(connection, port);
        connection.SendData("hello\n", 0);
        // The server has closed first.
        char byte = 0;
        unsigned int size = 1;
        ASSERT_EQ(FailureOf([&] { connection.ReceiveData(&byte, size, 0); }).mOSError, EPIPE);
        if (i % 3 == 0) connection.Disconnect();
        if (i % 3 == 1) connection.CancelCurrentOperation(SomeThread());
    }
    server.CancelCurrentOperation(SomeThread());
    accepter.join();
    EXPECT_EQ(served, 1000);
    EXPECT_EQ(CountDescriptors(), before);
}

TEST(CNetConnectionCancel, WorksBeyond1100Descriptors)
{
    StManyDescriptors const many;
    if (!many.AreEnough()) GTEST_SKIP() << "so many descriptors aren't allowed here";
    StEchoServer const server;
    CNetConnection connection;
    connection.ResolveRemoteHost("127.0.0.1", server.Port());
    connection.Connect(5);
    connection.SendData("far out\n", 5);
    EXPECT_EQ(LineFrom(connection), "far out");
}
