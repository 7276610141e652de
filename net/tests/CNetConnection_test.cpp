#include "net/CNetConnection.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <set>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include "net/tests/Peers.h"
#include "testing/FailureOf.h"
#include "testing/StChildProcess.h"

namespace {

Failure NetFailure(int category, int context, int osError)
{
    return {kNetConnectionDomain, category, context, osError};
}

// A port that nobody has, and the next one too.
unsigned short TwoFreePorts()
{
    for (;;) {
        unsigned short const port = StPeer::Listening().Port();
        if (port == 65535) continue;
        try {
            StPeer::Listening(AF_INET, static_cast<unsigned short>(port + 1));
            return port;
        } catch (std::runtime_error const&) {
        }
    }
}

// What the char form gives for `size` bytes, and whether they end a line.
std::pair<std::string, bool> PieceFrom(CNetConnection& connection, unsigned int size)
{
    std::string bytes(size, '\0');
    bool const isWhole = connection.ReceiveLine(bytes.data(), size, 0);
    bytes.resize(size);
    return {bytes, isWhole};
}

using Piece = std::pair<std::string, bool>;

}  // namespace

TEST(CNetConnection, ConnectsOnlyWhatWasResolved)
{
    CNetConnection connection;
    EXPECT_EQ(FailureOf([&] { connection.Connect(1); }),
              NetFailure(kNetNotPermitted, kNetConnect, 1));
}

TEST(CNetConnection, RefusesWhatNobodyServes)
{
    unsigned short const port = StPeer::Listening().Port();
    CNetConnection connection;
    EXPECT_EQ(FailureOf([&] { ConnectTo(connection, port); }),
              NetFailure(kNetRefused, kNetConnect, ECONNREFUSED));
    EXPECT_EQ(FailureOf([&] { connection.SendData("x", 1); }),
              NetFailure(kOtherFailure, kNetSend, EBADF));
}

TEST(CNetConnection, FailsWithoutAConnection)
{
    CNetConnection connection;
    char buffer[4];
    unsigned int size = 4;
    EXPECT_EQ(FailureOf([&] { connection.SendData("x", 1, 0); }),
              NetFailure(kOtherFailure, kNetSend, EBADF));
    EXPECT_EQ(FailureOf([&] { connection.ReceiveData(buffer, size, 0); }),
              NetFailure(kOtherFailure, kNetReceive, EBADF));
    EXPECT_EQ(FailureOf([&] { connection.GetAmountUnread(); }),
              NetFailure(kOtherFailure, kNetReceive, EBADF));
    EXPECT_EQ(FailureOf([&] { connection.WaitClientConnection(); }),
              NetFailure(kNetAborted, kNetWaitClient, -1));
    unsigned short port = 0;
    EXPECT_EQ(FailureOf([&] { connection.GetPeerHost(nullptr, port); }).mContext, kNetResolve);
    EXPECT_FALSE(connection.IsLocalIPAddress());
    connection.Disconnect();
}

TEST(CNetConnection, TellsTheResolversFailuresAboveAThousand)
{
    CNetConnection connection;
    std::string const tooLong(300, 'a');
    for (std::string const& host : {std::string(), tooLong}) {
        SCOPED_TRACE(host);
        Failure const failure = FailureOf([&] { connection.ResolveRemoteHost(host, 80); });
        EXPECT_EQ(failure, NetFailure(kNetResolver, kNetResolve, failure.mOSError));
        EXPECT_GT(failure.mOSError, 1000);
        EXPECT_EQ(FailureOf([&] { connection.GetHostAddr(&host, nullptr); }), failure);
    }
    EXPECT_EQ(FailureOf([&] { connection.GetHostAddr(nullptr, nullptr); }).mCategory, kNetResolver);
}

TEST(CNetConnection, ForgetsTheHostWhenTheNextOneIsNotFound)
{
    StPeer const listener = StPeer::Listening();
    CNetConnection connection;
    connection.ResolveRemoteHost("127.0.0.1", listener.Port());
    EXPECT_NE(FailureOf([&] { connection.ResolveRemoteHost("", 80); }), Failure());
    EXPECT_EQ(FailureOf([&] { connection.Connect(1); }).mOSError, 1);
}

TEST(CNetConnection, SendsAndReceives)
{
    Link link;
    EXPECT_EQ(link.mOurs->SendData("question", 5), 8u);
    EXPECT_EQ(link.mPeer.Receive(8), "question");
    EXPECT_EQ(link.mOurs->SendData("", 0, 5), 0u);
    std::string const answer("ans\0wer", 7);
    link.mPeer.Send(answer);
    EXPECT_EQ(ReceiveFrom(*link.mOurs, 7), answer);
    EXPECT_EQ(ReceiveFrom(*link.mOurs, 0), "");
    EXPECT_EQ(link.mOurs->GetStatus(), 8);
}

TEST(CNetConnection, KeepsTheStateAt8)
{
    CNetConnection connection;
    EXPECT_EQ(connection.GetStatus(), 8);
    connection.SetServerPort(false, 0, 0, 1);
    EXPECT_EQ(connection.GetStatus(), 8);
    connection.Disconnect();
    EXPECT_EQ(connection.GetStatus(), 8);
}

TEST(CNetConnection, ReceivesWhatCameBeforeTheEnd)
{
    Link link;
    link.mPeer.Send("four");
    link.mPeer.HalfClose();
    EXPECT_EQ(ReceiveFrom(*link.mOurs, 10), "four");
    char buffer[10];
    unsigned int size = 10;
    EXPECT_EQ(FailureOf([&] { link.mOurs->ReceiveData(buffer, size, 0); }),
              NetFailure(kNetBrokenPipe, kNetReceive, EPIPE));
    EXPECT_EQ(size, 0u);
    // It still sends.
    link.mOurs->SendData("bye", 0);
    EXPECT_EQ(link.mPeer.Receive(3), "bye");
}

TEST(CNetConnection, KeepsTellingTheEndBehindBytesReadAhead)
{
    Link link;
    link.mPeer.Send("a\nfour");
    EXPECT_EQ(LineFrom(*link.mOurs), "a");
    link.mPeer.HalfClose();
    char buffer[11] = "";
    unsigned int size = 10;
    EXPECT_EQ(FailureOf([&] { link.mOurs->ReceiveData(buffer, size, 0); }),
              NetFailure(kNetBrokenPipe, kNetReceive, EPIPE));
    // What it had moved is told.
    EXPECT_EQ(std::string(buffer, size), "four");
}

TEST(CNetConnection, TakesBytesReadAheadFirst)
{
    Link link;
    link.mPeer.Send("line\nbehind");
    EXPECT_EQ(LineFrom(*link.mOurs), "line");
    EXPECT_EQ(link.mOurs->GetAmountUnread(), 6u);
    EXPECT_EQ(ReceiveFrom(*link.mOurs, 2), "be");
    EXPECT_EQ(link.mOurs->GetAmountUnread(), 4u);
    link.mPeer.Send("more");
    EXPECT_EQ(ReceiveFrom(*link.mOurs, 8), "hindmore");
    EXPECT_EQ(link.mOurs->GetAmountUnread(), 0u);
}

TEST(CNetConnection, ReceivesLinesOfEveryLengthAroundTheReadAhead)
{
    Link link;
    std::string sent;
    std::vector<std::string> expected;
    for (std::size_t length :
         {0U, 1U, 2U, 511U, 1021U, 1022U, 1023U, 1024U, 1025U, 1026U, 2047U, 2048U, 2049U, 5000U}) {
        expected.emplace_back(length, static_cast<char>('a' + length % 26));
        if (length == 0) expected.pop_back();  // blank lines are passed over
        sent += std::string(length, static_cast<char>('a' + length % 26)) + "\r\n";
    }
    std::thread sender([&] { link.mPeer.Send(sent); });
    std::vector<std::string> lines;
    for (std::size_t i = 0; i < expected.size(); ++i)
        lines.push_back(LineFrom(*link.mOurs));
    sender.join();
    EXPECT_EQ(lines, expected);
}

TEST(CNetConnection, ReceivesPiecesOfLines)
{
    struct
    {
        char const* mWhat;
        std::string mSent;
        unsigned int mSize;
        std::vector<Piece> mPieces;
    } const cases[] = {
        {"smaller than the line", "abcdef\n", 3, {{"abc", false}, {"def", false}, {"\n", true}}},
        {"as large as the line", "ab\n", 3, {{"ab\n", true}}},
        {"larger than the line", "ab\ncd\n", 10, {{"ab\n", true}, {"cd\n", true}}},
        {"the end kept", "a\r\n\r\n", 10, {{"a\r\n", true}, {"\r\n", true}}},
        {"no room", "ab\n", 0, {{"", false}, {"", false}}},
        {"a zero byte", std::string("a\0b\n", 4), 10, {{std::string("a\0b\n", 4), true}}},
        {"one at a time", "a\n\n", 1, {{"a", false}, {"\n", true}, {"\n", true}}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        Link link;
        link.mPeer.Send(c.mSent);
        std::vector<Piece> pieces;
        while (pieces.size() < c.mPieces.size())
            pieces.push_back(PieceFrom(*link.mOurs, c.mSize));
        EXPECT_EQ(pieces, c.mPieces);
    }
}

TEST(CNetConnection, ReceivesLinesAsText)
{
    struct
    {
        char const* mWhat;
        std::string mSent;
        unsigned int mMaxLength;
        std::vector<std::string> mLines;
    } const cases[] = {
        {"a blank line in front", "\r\nabc\r\n", 0, {"abc"}},
        {"many of them", "\n\r\n\n\r\r\nabc\n", 0, {"abc"}},
        {"only a blank line", "\r\n", 0, {""}},
        {"a blank line and half a line behind it", "\r\nabc", 0, {""}},
        {"CR of its own", "\rab\rc\r\r\n", 0, {"ab\rc"}},
        {"the limit just met", "abc\r\ndef\r\n", 3, {"abc", "def"}},
        {"the limit passed", "abcdef\r\n", 3, {"abcde", "f"}},
        {"a limit above the read-ahead",
         std::string(2000, 'x') + "\n",
         1500,
         {std::string(1502, 'x'), std::string(498, 'x')}},
        {"the largest limit", "abc\n", 4294967295U, {"abc"}},
        {"the limit in a blank line", "\r\n\r\nabc\r\n", 1, {"abc"}},
        {"blanks in front of a line beyond the read-ahead",
         "\n\n" + std::string(3000, 'x') + "\n",
         0,
         {std::string(3000, 'x')}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        Link link;
        link.mPeer.Send(c.mSent);
        // All is there before the first look.
        while (link.mOurs->GetAmountUnread() < c.mSent.size())
            std::this_thread::yield();
        std::vector<std::string> lines;
        while (lines.size() < c.mLines.size())
            lines.push_back(LineFrom(*link.mOurs, c.mMaxLength));
        EXPECT_EQ(lines, c.mLines);
    }
}

TEST(CNetConnection, LeavesTheLastLineToWhoHearsOfTheEnd)
{
    Link link;
    link.mPeer.Send(std::string(3000, 'x') + "\r\nno end");
    link.mPeer.Close();
    EXPECT_EQ(LineFrom(*link.mOurs), std::string(3000, 'x'));
    std::string line = "former";
    EXPECT_EQ(FailureOf([&] { link.mOurs->ReceiveLine(&line, 0, 0); }),
              NetFailure(kNetBrokenPipe, kNetReceive, EPIPE));
    EXPECT_EQ(line, "no end");
}

TEST(CNetConnection, ConnectsAgainWithoutANewLookUp)
{
    StPeer const listener = StPeer::Listening();
    CNetConnection connection;
    ConnectTo(connection, listener.Port());
    StPeer const first = listener.Accept();
    first.Send("one\ntwo\n");
    EXPECT_EQ(LineFrom(connection), "one");
    connection.Disconnect();
    connection.Disconnect();
    EXPECT_EQ(first.ReceiveAll(), "");
    connection.Connect(5);
    StPeer const second = listener.Accept();
    second.Send("three\n");
    EXPECT_EQ(LineFrom(connection), "three");  // nothing of the former is left
    // The one that is open is closed first.
    connection.Connect(5);
    EXPECT_EQ(second.ReceiveAll(), "");
}

TEST(CNetConnection, ServesTheLoopbackOnOnePortOfBothFamilies)
{
    unsigned short const port = TwoFreePorts();
    CNetConnection server;
    EXPECT_EQ(server.SetServerPort(false, port, port, 5), port);
    for (int const family : {AF_INET, AF_INET6}) {
        if (family == AF_INET6 && !HasIPv6()) GTEST_SKIP() << "there is no ::1 here";
        StPeer const peer = StPeer::Connected(port, family);
        std::unique_ptr<CNetConnection> const client(server.WaitClientConnection());
        std::string host;
        unsigned short peerPort = 0;
        client->GetPeerHost(&host, peerPort);
        EXPECT_EQ(host, family == AF_INET ? "127.0.0.1" : "::1");
        EXPECT_EQ(peerPort, peer.Port());
        EXPECT_TRUE(client->IsLocalIPAddress());
        client->SendData("hello", 0);
        EXPECT_EQ(peer.Receive(5), "hello");
    }
    server.Disconnect();
}

TEST(CNetConnection, ServesAllInterfacesByOneSocket)
{
    int const before = CountDescriptors();
    CNetConnection server;
    unsigned short const port = server.SetServerPort(true, 0, 0, 5);
    EXPECT_GT(port, 0);
    EXPECT_EQ(CountDescriptors(), before + 1);
    StPeer const peer = StPeer::Connected(port);
    std::unique_ptr<CNetConnection> const client(server.WaitClientConnection());
    std::string host;
    unsigned short peerPort = 0;
    client->GetPeerHost(&host, peerPort);
    EXPECT_EQ(host, HasIPv6() ? "::ffff:127.0.0.1" : "127.0.0.1");
    EXPECT_TRUE(client->IsLocalIPAddress());
    server.Disconnect();
}

TEST(CNetConnection, TakesTheFirstPortThatCanBeHad)
{
    unsigned short const port = TwoFreePorts();
    auto const next = static_cast<unsigned short>(port + 1);
    CNetConnection taken;
    taken.SetServerPort(true, port, port, 5);
    CNetConnection server;
    EXPECT_EQ(server.SetServerPort(true, port, next, 5), next);
    server.Disconnect();
    EXPECT_EQ(FailureOf([&] { server.SetServerPort(true, port, port, 5); }),
              NetFailure(kNetRefused, kNetConnect, EADDRINUSE));
    EXPECT_EQ(FailureOf([&] { server.SetServerPort(true, next, port, 5); }),
              NetFailure(kNetNotPermitted, kNetConnect, EADDRNOTAVAIL));
    taken.Disconnect();
}

TEST(CNetConnection, ServesByIPv6AloneWhereThePortOfIPv4IsTaken)
{
    if (!HasIPv6()) GTEST_SKIP() << "there is no ::1 here";
    StPeer const taken = StPeer::Listening(AF_INET);
    CNetConnection server;
    EXPECT_EQ(server.SetServerPort(false, taken.Port(), taken.Port(), 5), taken.Port());
    StPeer const peer = StPeer::Connected(taken.Port(), AF_INET6);
    std::unique_ptr<CNetConnection> const client(server.WaitClientConnection());
    server.Disconnect();
}

TEST(CNetConnection, ServesByIPv4AloneWhereThePortOfIPv6IsTaken)
{
    if (!HasIPv6()) GTEST_SKIP() << "there is no ::1 here";
    StPeer const taken = StPeer::Listening(AF_INET6);
    CNetConnection server;
    EXPECT_EQ(server.SetServerPort(false, taken.Port(), taken.Port(), 5), taken.Port());
    StPeer const peer = StPeer::Connected(taken.Port(), AF_INET);
    std::unique_ptr<CNetConnection> const client(server.WaitClientConnection());
    server.Disconnect();
}

TEST(CNetConnection, ServesTheSamePortAgain)
{
    int const before = CountDescriptors();
    CNetConnection server;
    unsigned short const port = server.SetServerPort(true, 0, 0, 5);
    StPeer const peer = StPeer::Connected(port);
    std::unique_ptr<CNetConnection> const client(server.WaitClientConnection());
    server.Disconnect();
    EXPECT_EQ(FailureOf([&] { server.WaitClientConnection(); }),
              NetFailure(kNetAborted, kNetWaitClient, -1));
    EXPECT_EQ(server.SetServerPort(true, port, port, 5), port);
    // While it stands, too: there is one server in an object.
    EXPECT_EQ(server.SetServerPort(true, port, port, 5), port);
    StPeer const second = StPeer::Connected(port);
    std::unique_ptr<CNetConnection> const another(server.WaitClientConnection());
    // Clients don't depend on their server.
    client->SendData("still here", 0);
    EXPECT_EQ(peer.Receive(10), "still here");
    server.Disconnect();
    EXPECT_EQ(CountDescriptors(), before + 4);
}

TEST(CNetConnection, KeepsListeningWhenItIsDeleted)
{
    auto server = std::make_unique<CNetConnection>();
    unsigned short const port = server->SetServerPort(true, 0, 0, 5);
    int const before = CountDescriptors();
    server.reset();
    EXPECT_EQ(CountDescriptors(), before);
    StPeer::Connected(port);
}

TEST(CNetConnection, KnowsThisMachine)
{
    CNetConnection connection;
    std::string name;
    connection.GetLocalHostName(&name);
    char expected[256] = "";
    gethostname(expected, sizeof expected);
    EXPECT_EQ(name, expected);
    connection.GetLocalHostName(nullptr);

    std::string first;
    connection.GetLocalHostAddr(&first);
    std::vector<std::string> addresses{"former"};
    connection.GetLocalHostAddresses(addresses);
    std::set<std::string> const found(addresses.begin(), addresses.end());
    EXPECT_EQ(found.count("former"), 0u);
    for (std::string const& address : {first, std::string("127.0.0.1"), "::ffff:" + first})
        EXPECT_EQ(found.count(address), 1u) << address;
    ASSERT_GE(addresses.size(), 2u);
    EXPECT_EQ(addresses[0], first);
    EXPECT_EQ(addresses[1], "::ffff:" + first);
    EXPECT_EQ(found.count("::1"), HasIPv6() ? 1u : 0u);

    EXPECT_TRUE(connection.IsLocalIPAddress("127.0.0.1"));
    EXPECT_TRUE(connection.IsLocalIPAddress("::ffff:127.0.0.1"));
    EXPECT_EQ(connection.IsLocalIPAddress("::1"), HasIPv6());
    EXPECT_FALSE(connection.IsLocalIPAddress("192.0.2.77"));
    EXPECT_FALSE(connection.IsLocalIPAddress(""));
}

TEST(CNetConnection, FindsTheAddressOfAHost)
{
    CNetConnection connection;
    std::string address;
    std::string host = "127.0.0.1";
    connection.GetHostAddr(&host, &address);
    EXPECT_EQ(address, "127.0.0.1");
    connection.GetHostAddr(&host, nullptr);
    if (!HasIPv6()) GTEST_SKIP() << "there is no ::1 here";
    host = "::1";
    connection.GetHostAddr(&host, &address);
    EXPECT_EQ(address, "::1");
}

TEST(CNetConnection, ConnectsByIPv6)
{
    if (!HasIPv6()) GTEST_SKIP() << "there is no ::1 here";
    StPeer const listener = StPeer::Listening(AF_INET6);
    CNetConnection connection;
    ConnectTo(connection, listener.Port(), "::1");
    listener.Accept().Send("six\n");
    EXPECT_EQ(LineFrom(connection), "six");
}

TEST(CNetConnection, NeverTakesDescriptor0)
{
    StPeer const listener = StPeer::Listening();
    StChildProcess child([&](CTestLink& parent) {
        CNetConnection connection;
        connection.ResolveRemoteHost("127.0.0.1", listener.Port());
        close(0);
        connection.Connect(0);
        CNetConnection server;
        unsigned short const port = server.SetServerPort(false, 0, 0, 5);
        StPeer const peer(fcntl(StPeer::Connected(port).Descriptor(), F_DUPFD, 3));
        std::unique_ptr<CNetConnection> const client(server.WaitClientConnection());
        client->SendData("served", 0);
        connection.SendData(peer.Receive(6), 0);
        parent.Say(fcntl(0, F_GETFD) == -1 ? "free" : "taken");
    });
    EXPECT_EQ(listener.Accept().Receive(6), "served");
    EXPECT_EQ(child.Hear(), "free");
}

TEST(CNetConnection, ClosesItsDescriptorsInOtherPrograms)
{
    CNetConnection server;
    unsigned short const port = server.SetServerPort(false, 0, 0, 5);
    CNetConnection connection;
    ConnectTo(connection, port);
    std::unique_ptr<CNetConnection> const client(server.WaitClientConnection());
    int closed = 0;
    for (int i = 3; i < 256; ++i) {
        int type = 0;
        socklen_t length = sizeof type;
        if (getsockopt(i, SOL_SOCKET, SO_TYPE, &type, &length) == -1) continue;
        EXPECT_EQ(fcntl(i, F_GETFD), FD_CLOEXEC);
        ++closed;
    }
    EXPECT_GE(closed, 3);
    server.Disconnect();
}

TEST(CNetConnection, MakesABrokenPipeAFailure)
{
    StChildProcess child([](CTestLink& parent) {
        std::signal(SIGPIPE, SIG_DFL);
        Link link;
        link.mPeer.Reset();
        char byte = 0;
        unsigned int size = 1;
        // The first one tells the reset.
        int const reset = FailureOf([&] { link.mOurs->ReceiveData(&byte, size, 0); }).mOSError;
        int const pipe = FailureOf([&] { link.mOurs->SendData("x", 0); }).mOSError;
        parent.Say(std::to_string(reset) + " " + std::to_string(pipe));
    });
    EXPECT_EQ(child.Hear(), std::to_string(ECONNRESET) + " " + std::to_string(EPIPE));
    EXPECT_EQ(child.WaitForEnd(), 0);
}
