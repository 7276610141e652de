#include "net/CNetIntf.h"

#include "net/tests/Peers.h"
#include "testing/FailureOf.h"

#include <gtest/gtest.h>

#include <cerrno>

TEST(CNetIntf, ThrowsTheCategoryOfTheError)
{
    struct
    {
        char const* mWhat;
        int mError;
        int mCategory;
    } const cases[] = {
        {"2001 alone", 2001, 11},
        {"just above it", 2002, 10},
        {"just below it", 2000, 10},
        {"the first of the resolver's", 1001, 10},
        {"a resolver's result", 1008, 10},
        {"the last number", 2147483647, 10},
        {"the band's lower edge", 1000, 100},
        {"EAGAIN", EAGAIN, 1},
        {"ETIMEDOUT", ETIMEDOUT, 1},
        {"EPERM", EPERM, 2},
        {"EADDRNOTAVAIL", EADDRNOTAVAIL, 2},
        {"EINTR", EINTR, 4},
        {"EACCES", EACCES, 5},
        {"EADDRINUSE", EADDRINUSE, 5},
        {"ECONNREFUSED", ECONNREFUSED, 5},
        {"ECONNABORTED", ECONNABORTED, 7},
        {"ENETUNREACH", ENETUNREACH, 8},
        {"EPIPE", EPIPE, 9},
        {"ECONNRESET", ECONNRESET, 100},
        {"EHOSTUNREACH", EHOSTUNREACH, 100},
        {"EBADF", EBADF, 100},
        {"no platform call", -1, 100},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        Failure const expected{0x4E657443, c.mCategory, 6, c.mError};
        auto const action = [&] { CNetIntf::ThrowNetConnectionException(c.mError, 6); };
        EXPECT_EQ(FailureOf(action), expected);
        EXPECT_EQ(FailureTextOf(action), "");
    }
}

TEST(CNetIntf, ThrowsWithoutAnErrorToo)
{
    Failure const expected{0x4E657443, 100, 4, 0};
    EXPECT_EQ(FailureOf([] { CNetIntf::ThrowNetConnectionException(0, 4); }), expected);
}

// What a line is put together from may be answered by a subclass.
TEST(CNetIntf, AsksItselfForTheRestOfALine)
{
    class CCounting : public CNetIntf
    {
    public:
        CCounting()
            : CNetIntf(nullptr)
        {
        }

        bool ReceiveLine(char* buffer, unsigned int& size, unsigned int timeoutSeconds) override
        {
            ++mCalls;
            return CNetIntf::ReceiveLine(buffer, size, timeoutSeconds);
        }

        int mCalls = 0;
    };

    StPeer const listener = StPeer::Listening();
    CCounting intf;
    intf.ResolveRemoteHost("127.0.0.1", listener.Port());
    intf.Connect(0);
    listener.Accept().Send("a line\n");
    char buffer[20];
    unsigned int size = sizeof buffer;
    EXPECT_TRUE(intf.ReceiveLine(buffer, size, 0));
    EXPECT_EQ(std::string(buffer, size), "a line\n");
    EXPECT_GE(intf.mCalls, 2);
}
