// Peers that others wrote, and peers that are slow, broken or rude.
#include "net/CNetConnection.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <thread>

#include <gtest/gtest.h>
#include <sys/time.h>

#include "net/tests/Peers.h"
#include "net/tests/StProgram.h"
#include "net/tests/StProxy.h"
#include "testing/FailureOf.h"
#include "testing/StTempDir.h"

namespace {

CThread const* SomeThread()
{
    static int const place = 0;
    return reinterpret_cast<CThread const*>(&place);
}

Failure NetFailure(int category, int context, int osError)
{
    return {kNetConnectionDomain, category, context, osError};
}

// Sends all that comes at one to the other.
void HandOn(CNetConnection& from, CNetConnection& to)
{
    FailureOf([&] {
        for (;;)
            SendAll(to, ReceiveFrom(from, std::max(1U, from.GetAmountUnread())));
    });
    to.CancelCurrentOperation(SomeThread());
    from.CancelCurrentOperation(SomeThread());
}

// A server of ours and a client behind a proxy.
struct Slow
{
    explicit Slow(ProxyBehaviour const& behaviour)
        : mProxy(mServer.SetServerPort(false, 0, 0, 5), behaviour)
    {
        ConnectTo(mClient, mProxy.Port());
        mServed.reset(mServer.WaitClientConnection());
        mServer.Disconnect();
    }

    Slow(Slow const&) = delete;
    Slow& operator=(Slow const&) = delete;

    ~Slow()
    {
        mServed.reset();
        mClient.CancelCurrentOperation(SomeThread());
    }

    CNetConnection mServer;
    StProxy mProxy;
    CNetConnection mClient;
    std::unique_ptr<CNetConnection> mServed;
};

// 1,000 signals a second, none of which restarts a call, for this thread alone.
class StSignals
{
public:
    StSignals()
    {
        sCount = 0;
        struct sigaction action = {};
        action.sa_handler = [](int) { ++sCount; };
        sigaction(SIGALRM, &action, &mFormer);
        itimerval const often = {{0, 1000}, {0, 1000}};
        setitimer(ITIMER_REAL, &often, nullptr);
    }

    StSignals(StSignals const&) = delete;
    StSignals& operator=(StSignals const&) = delete;

    ~StSignals()
    {
        itimerval const never = {};
        setitimer(ITIMER_REAL, &never, nullptr);
        sigaction(SIGALRM, &mFormer, nullptr);
    }

    static int Count() { return sCount; }

    static void KeepOffThisThread()
    {
        sigset_t alarm;
        sigemptyset(&alarm);
        sigaddset(&alarm, SIGALRM);
        pthread_sigmask(SIG_BLOCK, &alarm, nullptr);
    }

private:
    struct sigaction mFormer = {};
    static std::atomic<int> sCount;
};

std::atomic<int> StSignals::sCount{0};

}  // namespace

TEST(CNetConnectionPeers, ServesClientsThatOthersWrote)
{
    struct
    {
        char const* mProgram;
        char const* mCommand;
    } const cases[] = {
        {"nc", R"(printf 'first\r\nsecond\n' | nc -N 127.0.0.1 )"},
        {"socat", R"(printf 'first\r\nsecond\n' | socat -t 60 - TCP4:127.0.0.1:)"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mProgram);
        if (!StProgram::IsThere(c.mProgram)) GTEST_SKIP() << "there is no " << c.mProgram;
        CNetConnection server;
        unsigned short const port = server.SetServerPort(false, 0, 0, 5);
        StProgram program(c.mCommand + std::to_string(port));
        std::unique_ptr<CNetConnection> const client(server.WaitClientConnection());
        EXPECT_EQ(LineFrom(*client), "first");
        EXPECT_EQ(LineFrom(*client), "second");
        EXPECT_EQ(FailureOf([&] { LineFrom(*client); }),
                  NetFailure(kNetBrokenPipe, kNetReceive, EPIPE));
        SendAll(*client, "answer\n");
        client->Disconnect();
        EXPECT_EQ(program.Hear(), "answer");
        EXPECT_EQ(program.Hear(), "(gone)");
        server.Disconnect();
    }
}

TEST(CNetConnectionPeers, ConnectsToServersThatOthersWrote)
{
    std::string const port = std::to_string(StPeer::Listening().Port());

    struct
    {
        char const* mProgram;
        std::string mCommand;
        char const* mReady;
    } const cases[] = {
        {"socat",
         "exec socat -d -d TCP4-LISTEN:" + port + ",bind=127.0.0.1,reuseaddr EXEC:cat 2>&1",
         "listening on"},
        {"nc", "mkfifo back; nc -v -l 127.0.0.1 " + port + " 2>&1 <>back >&0", "istening on"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mProgram);
        if (!StProgram::IsThere(c.mProgram)) GTEST_SKIP() << "there is no " << c.mProgram;
        StTempDir const folder;
        StProgram program("cd " + folder.Path() + "; " + c.mCommand);
        ASSERT_NE(program.HearOf(c.mReady), "(gone)");
        CNetConnection connection;
        ConnectTo(connection, static_cast<unsigned short>(std::stoi(port)));
        for (std::string const line : {"one", "two", "three"}) {
            SendAll(connection, line + "\r\n");
            EXPECT_EQ(LineFrom(connection), line);
        }
    }
}

// The bytes of a TLS session pass through unharmed, both ways at once.
TEST(CNetConnectionPeers, HandsOnASessionOfOpenSSL)
{
    if (!StProgram::IsThere("openssl")) GTEST_SKIP() << "there is no openssl";
    StTempDir const folder;
    std::string const inFolder = "cd " + folder.Path() + " && exec ";
    StProgram(inFolder + "openssl req -x509 -newkey rsa:2048 -nodes -keyout key -out certificate "
                         "-subj /CN=loam 2>&1")
        .HearOf("never said");
    std::string const port = std::to_string(StPeer::Listening().Port());
    StProgram server(inFolder + "openssl s_server -accept 127.0.0.1:" + port +
                     " -key key -cert certificate -rev 2>&1");
    ASSERT_NE(server.HearOf("ACCEPT"), "(gone)");

    CNetConnection relay;
    unsigned short const relayPort = relay.SetServerPort(false, 0, 0, 5);
    StProgram client(
        "(printf 'loam\\n'; exec sleep 60) | openssl s_client -quiet -connect 127.0.0.1:" +
        std::to_string(relayPort) + " 2>/dev/null");
    std::unique_ptr<CNetConnection> const left(relay.WaitClientConnection());
    CNetConnection right;
    ConnectTo(right, static_cast<unsigned short>(std::stoi(port)));
    std::thread there([&] { HandOn(*left, right); });
    std::thread back([&] { HandOn(right, *left); });
    EXPECT_EQ(client.Hear(), "maol");
    left->CancelCurrentOperation(SomeThread());
    there.join();
    back.join();
    relay.Disconnect();
}

TEST(CNetConnectionPeers, WaitsForASlowPeer)
{
    Slow slow({1, 10, 0});
    SendAll(*slow.mServed, "slow line\r\nand another\n");
    std::string line;
    slow.mClient.ReceiveLine(&line, 5, 0);
    EXPECT_EQ(line, "slow line");
    slow.mClient.ReceiveLine(&line, 5, 5);
    EXPECT_EQ(line, "and ano");
    EXPECT_EQ(ReceiveFrom(slow.mClient, 5), "ther\n");
}

TEST(CNetConnectionPeers, TellsAResetInMidLine)
{
    Slow slow({1, 0, 7});
    SendAll(*slow.mServed, "the line that breaks\n");
    std::string line;
    Failure const failure = FailureOf([&] { slow.mClient.ReceiveLine(&line, 0, 0); });
    EXPECT_EQ(failure, NetFailure(kOtherFailure, kNetReceive, ECONNRESET));
    // A reset may drop what wasn't taken in time.
    EXPECT_EQ(std::string("the lin").rfind(line, 0), 0u);
}

TEST(CNetConnectionPeers, GoesOnAfterAHalfClose)
{
    Link link;
    link.mPeer.Send("last words");
    link.mPeer.HalfClose();
    std::string line;
    EXPECT_EQ(FailureOf([&] { link.mOurs->ReceiveLine(&line, 0, 0); }),
              NetFailure(kNetBrokenPipe, kNetReceive, EPIPE));
    EXPECT_EQ(line, "last words");
    SendAll(*link.mOurs, "heard\n");
    EXPECT_EQ(link.mPeer.Receive(6), "heard\n");
}

TEST(CNetConnectionPeers, TakesAMegabyteWithoutALineEnd)
{
    std::string const much(1 << 20, 'x');
    Link link;
    std::thread sender([&] {
        link.mPeer.Send(much);
        link.mPeer.HalfClose();
    });
    // In parts of a limit as large as one wants.
    EXPECT_EQ(LineFrom(*link.mOurs, 100000), std::string(100002, 'x'));
    std::string line;
    EXPECT_EQ(FailureOf([&] { link.mOurs->ReceiveLine(&line, 0, 0); }).mOSError, EPIPE);
    EXPECT_EQ(line.size(), much.size() - 100002);
    sender.join();
}

TEST(CNetConnectionPeers, TimesOutOnAPeerThatNeverReadsOrSends)
{
    Link link;
    std::string const much(1 << 20, 'x');
    Failure const sending = FailureOf([&] {
        for (;;)
            link.mOurs->SendData(much, 1);
    });
    EXPECT_EQ(sending, NetFailure(kNetTimedOut, kNetSend, EAGAIN));
    char buffer[4];
    unsigned int size = 4;
    EXPECT_EQ(FailureOf([&] { link.mOurs->ReceiveData(buffer, size, 1); }),
              NetFailure(kNetTimedOut, kNetReceive, EAGAIN));
    // Neither has ended the connection.
    link.mPeer.Send("late");
    EXPECT_EQ(ReceiveFrom(*link.mOurs, 4), "late");
}

TEST(CNetConnectionPeers, ExchangesLinesUnderSignals)
{
    constexpr int kLines = 10000;
    constexpr int kSignals = 200;
    Link link;
    std::thread echo([&] {
        StSignals::KeepOffThisThread();
        for (std::string part; !(part = link.mPeer.ReceiveSome()).empty();)
            link.mPeer.Send(part);
    });
    int sent = 0;
    int good = 0;
    int strange = 0;
    auto const isInterrupted = [&strange](Failure const& failure) {
        if (failure != Failure() && failure.mCategory != kNetInterrupted) ++strange;
        return failure.mCategory == kNetInterrupted;
    };
    {
        StSignals const signals;
        // As many more as it takes to be disturbed on a fast machine too.
        for (; (sent < kLines || StSignals::Count() < kSignals) && strange == 0; ++sent) {
            std::string const text = "line " + std::to_string(sent) + "\r\n";
            unsigned int done = 0;
            while (done < text.size() && strange == 0) {
                isInterrupted(FailureOf([&] {
                    done += link.mOurs->SendData(text.data() + done,
                                                 static_cast<unsigned int>(text.size() - done), 0);
                }));
            }
            std::string whole;
            std::string line;
            while (isInterrupted(FailureOf([&] { link.mOurs->ReceiveLine(&line, 0, 0); })))
                whole += line;
            whole += line;
            if (whole == text.substr(0, text.size() - 2)) ++good;
        }
    }
    link.mOurs->CancelCurrentOperation(SomeThread());
    echo.join();
    EXPECT_EQ(strange, 0);
    EXPECT_EQ(good, sent);
}
