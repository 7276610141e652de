// Registrations, and the text of services.

#include "net/CNetService.h"

#include <chrono>
#include <functional>
#include <memory>
#include <thread>

#include <gmock/gmock.h>

#include "concurrency/CSemaphore.h"
#include "marl/memblock.h"
#include "net/CNetServiceListener.h"
#include "net/NetServiceText.h"
#include "testing/ScriptedNetServicePlatform.h"

namespace {

using testing::ElementsAre;

// Long enough for any machine, and a failure then.
constexpr long long kPatience = 60000000;

class CAnswers : public CNetServiceListener
{
public:
    void ServiceRegistered(CNetService* service, bool success) override
    {
        mTold.emplace_back(service, success);
        if (mThen) mThen();
        mDone.Post();
    }

    std::vector<std::pair<CNetService*, bool>> mTold;
    std::function<void()> mThen;
    CSemaphore mDone;
};

class CNetServiceTest : public testing::Test
{
protected:
    bool Register(CNetService& service, NetServicePairs const* txt = nullptr)
    {
        return service.RegisterService("Scans", "_http._tcp", 8000, nullptr, txt, true, true,
                                       &mListener);
    }

    ~CNetServiceTest() override { EXPECT_EQ(mPlatform.CountMisuses(), 0); }

    ScriptedNetServicePlatform mPlatform;
    StNetServicePlatform mInUse{mPlatform};
    CAnswers mListener;
};

std::string RecordOf(NetServicePairs const& pairs)
{
    memblock record;
    AppendTXTRecord(pairs, record);
    return {record.data(), record.size()};
}

NetServicePairs PairsOf(std::string const& record)
{
    return ParseTXTRecord(reinterpret_cast<unsigned char const*>(record.data()),
                          static_cast<unsigned int>(record.size()));
}

}  // namespace

TEST_F(CNetServiceTest, SaysWhatAndWhere)
{
    struct
    {
        char const* mWhat;
        char const* mName;
        char const* mHost;
        bool mAllInterfaces;
        bool mAnyDomain;
        char const* mCall;
    } const cases[] = {
        {"everywhere", "Scans", nullptr, true, true,
         "register #1 if=0 name=Scans type=_http._tcp domain=- host=- port=8000 txt=-"},
        {"this machine alone", "Scans", nullptr, false, true,
         "register #1 if=-1 name=Scans type=_http._tcp domain=- host=- port=8000 txt=-"},
        {"the local domain", "Scans", nullptr, true, false,
         "register #1 if=0 name=Scans type=_http._tcp domain=local. host=- port=8000 txt=-"},
        {"another host", nullptr, "other.local.", true, true,
         "register #1 if=0 name=- type=_http._tcp domain=- host=other.local. port=8000 txt=-"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        ScriptedNetServicePlatform platform;
        StNetServicePlatform const inUse(platform);
        CNetService service;
        EXPECT_TRUE(service.RegisterService(c.mName, "_http._tcp", 8000, c.mHost, nullptr,
                                            c.mAllInterfaces, c.mAnyDomain, nullptr));
        EXPECT_THAT(platform.Trace(), ElementsAre(c.mCall));
    }
}

TEST_F(CNetServiceTest, AnnouncesPairsInTheirOrder)
{
    CNetService service;
    NetServicePairs const pairs{{"b", "2"}, {"a", ""}};
    EXPECT_TRUE(Register(service, &pairs));
    EXPECT_THAT(mPlatform.Trace().at(0), testing::EndsWith("txt=\3b=2\2a="));
}

TEST_F(CNetServiceTest, HasNoRecordWithoutPairs)
{
    CNetService service;
    NetServicePairs const none;
    EXPECT_TRUE(Register(service, &none));
    EXPECT_THAT(mPlatform.Trace().at(0), testing::EndsWith("txt=-"));
}

TEST_F(CNetServiceTest, RefusesARecordThatIsTooLong)
{
    CNetService service;
    NetServicePairs const most(255, {"k", std::string(254, 'v')});  // 65,280 bytes
    EXPECT_TRUE(Register(service, &most));
    service.UnregisterService();
    NetServicePairs const more(257, {"k", std::string(254, 'v')});
    EXPECT_FALSE(Register(service, &more));
    EXPECT_EQ(mPlatform.CountLiving(), 0);
}

TEST_F(CNetServiceTest, AnswersFalseWhereTheSystemRefuses)
{
    CNetService service;
    mPlatform.RefuseNext(-65537);
    EXPECT_FALSE(Register(service));
    service.UnregisterService();
    EXPECT_THAT(mPlatform.Trace(), ElementsAre(testing::StartsWith("register #0")));
}

TEST_F(CNetServiceTest, TellsWhatBecameOfIt)
{
    CNetService service;
    Register(service);
    mPlatform.Registered(mPlatform.Newest(), 0);
    mPlatform.Registered(mPlatform.Newest(), -65548);
    EXPECT_THAT(mListener.mTold,
                ElementsAre(std::pair(&service, true), std::pair(&service, false)));
}

TEST_F(CNetServiceTest, TellsNobodyWithoutAListener)
{
    CNetService service;
    EXPECT_TRUE(
        service.RegisterService("Scans", "_http._tcp", 1, nullptr, nullptr, true, true, nullptr));
    mPlatform.Registered(mPlatform.Newest(), 0);
    EXPECT_EQ(mPlatform.CountLiving(), 1);
}

TEST_F(CNetServiceTest, ReleasesOnce)
{
    {
        CNetService service;
        Register(service);
        service.UnregisterService();
        service.UnregisterService();
    }
    {
        CNetService service;
        Register(service);
    }
    EXPECT_THAT(mPlatform.Trace(), ElementsAre(testing::StartsWith("register #1"), "release #1",
                                               testing::StartsWith("register #2"), "release #2"));
}

TEST_F(CNetServiceTest, KeepsThePauseBetweenTwoRegistrations)
{
    CNetService service;
    Register(service);
    auto const before = std::chrono::steady_clock::now();
    EXPECT_TRUE(Register(service));
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::seconds(2));
    EXPECT_THAT(mPlatform.Trace(), ElementsAre(testing::StartsWith("register #1"), "release #1",
                                               testing::StartsWith("register #2")));
}

TEST_F(CNetServiceTest, LetsTheListenerUnregister)
{
    CNetService service;
    Register(service);
    mListener.mThen = [&] { service.UnregisterService(); };
    DNSServiceRef const ref = mPlatform.Newest();
    mPlatform.Post(ref, [&, ref] { mPlatform.Registered(ref, 0); });
    EXPECT_TRUE(mListener.mDone.TimedWait(kPatience));
    service.UnregisterService();
    EXPECT_EQ(mPlatform.CountLiving(), 0);
}

TEST_F(CNetServiceTest, LetsTheListenerDeleteTheService)
{
    auto service = std::make_unique<CNetService>();
    Register(*service);
    mListener.mThen = [&] { service.reset(); };
    DNSServiceRef const ref = mPlatform.Newest();
    mPlatform.Post(ref, [&, ref] { mPlatform.Registered(ref, 0); });
    EXPECT_TRUE(mListener.mDone.TimedWait(kPatience));
    EXPECT_EQ(mPlatform.CountLiving(), 0);
}

// The listener is still at it when the service is deleted, which has to wait for that.
TEST_F(CNetServiceTest, IsGoneOnlyWhenItsListenerHasReturned)
{
    auto service = std::make_unique<CNetService>();
    Register(*service);
    CSemaphore isIn;
    CSemaphore mayLeave;
    bool hasLeft = false;
    mListener.mThen = [&] {
        isIn.Post();
        mayLeave.TimedWait(kPatience);
        hasLeft = true;
    };
    DNSServiceRef const ref = mPlatform.Newest();
    mPlatform.Post(ref, [&, ref] { mPlatform.Registered(ref, 0); });
    ASSERT_TRUE(isIn.TimedWait(kPatience));
    std::thread other([&] {
        service.reset();
        EXPECT_TRUE(hasLeft);
    });
    mayLeave.Post();
    other.join();
    EXPECT_EQ(mPlatform.CountLiving(), 0);
}

TEST_F(CNetServiceTest, TakesUnregisteringFromSeveralThreads)
{
    mPlatform.AnswerByItself(0);
    CNetService service;
    Register(service);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] { service.UnregisterService(); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_THAT(mPlatform.Trace(), ElementsAre(testing::StartsWith("register #1"), "release #1"));
}

TEST(NetServiceText, BuildsRecords)
{
    struct
    {
        char const* mWhat;
        NetServicePairs mPairs;
        std::string mRecord;
    } const cases[] = {
        {"none", {}, ""},
        {"one", {{"a", "1"}}, "\3a=1"},
        {"in their order", {{"b", "2"}, {"a", "1"}}, "\3b=2\3a=1"},
        {"no value", {{"a", ""}}, "\2a="},
        {"no key", {{"", "1"}}, "\2=1"},
        {"nothing", {{"", ""}}, "\1="},
        {"bytes of any kind", {{"a", {"\0\xFF", 2}}}, {"\4a=\0\xFF", 5}},
        {"255 bytes", {{"key", std::string(251, 'x')}}, "\xFFkey=" + std::string(251, 'x')},
        {"300 bytes", {{"key", std::string(296, 'x')}}, "\xFFkey=" + std::string(251, 'x')},
        {"a key of 300 bytes", {{std::string(300, 'k'), "x"}}, "\xFF" + std::string(255, 'k')},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(RecordOf(c.mPairs), c.mRecord);
    }
}

TEST(NetServiceText, ReadsRecords)
{
    struct
    {
        char const* mWhat;
        std::string mRecord;
        NetServicePairs mPairs;
    } const cases[] = {
        {"nothing", "", {}},
        {"one byte", "\1", {}},
        {"one", "\3a=1", {{"a", "1"}}},
        {"in their order", "\3b=2\3a=1", {{"b", "2"}, {"a", "1"}}},
        {"no =", "\4flag\3a=1", {{"a", "1"}}},
        {"no value", "\2a=", {{"a", ""}}},
        {"several =", "\5a=b=c", {{"a", "b=c"}}},
        {"no key", "\2=1", {{"", "1"}}},
        {"empty entries", std::string("\0\0\3a=1\0", 7), {{"a", "1"}}},
        {"cut off", "\3a=1\11b=2", {{"a", "1"}, {"b", "2"}}},
        {"cut off behind the length", "\3a=1\11", {{"a", "1"}}},
        {"bytes of any kind", {"\4a=\0\xFF", 5}, {{"a", {"\0\xFF", 2}}}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(PairsOf(c.mRecord), c.mPairs);
    }
}

TEST(NetServiceText, KeepsDroppingKeysWithoutASeparator)
{
    EXPECT_EQ(PairsOf("\4flag\2a="), (NetServicePairs{{"a", ""}}));
    EXPECT_EQ(PairsOf("\4flag"), NetServicePairs());
}

TEST(NetServiceText, FindsThePlainName)
{
    struct
    {
        char const* mFullName;
        char const* mName;
    } const cases[] = {
        {"My\\032Printer._ipp._tcp.local.", "My Printer"},
        {"A\\.B._ipp._tcp.local.", "A.B"},
        {"Scans._ipp._tcp.local.", "Scans"},
        {"no dot", "no dot"},
        {"", ""},
        {".local.", ""},
        {"A\\\\.B", "A\\"},
        {"A\\\\\\.B", "A\\.B"},
        {"\\195\\169", "\xC3\xA9"},
        {"\\300", "\x2C"},   // modulo 256
        {"\\03", "03"},      // too few digits
        {"\\03x", "03x"},    // and a letter
        {"\\0321", " 1"},    // only three of them
        {"\\q", "q"},        // an escape that needn't be one
        {"end\\", "end\\"},  // nothing behind it
        {"\\.", "."},
        {"\\046x.y", ".x"},  // the dot that this makes ends nothing
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mFullName);
        EXPECT_EQ(PlainServiceName(c.mFullName), c.mName);
    }
}
