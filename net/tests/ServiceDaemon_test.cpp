// Services announced and found through a real daemon, and by the programs that come with it.
//
// Each case has a network and a daemon of its own, so there are few of them.

#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <net/if.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "concurrency/CCondition.h"
#include "concurrency/CMutex.h"
#include "concurrency/StMutexLocker.h"
#include "net/CNetService.h"
#include "net/CNetServiceBrowser.h"
#include "net/CNetServiceBrowserListener.h"
#include "net/CNetServiceListener.h"
#include "net/NetServiceText.h"
#include "net/platform/CBasicNetServicePlatform.h"
#include "net/platform/linux/ServiceNames.h"
#include "testing/Sanitizers.h"
#include "testing/StServiceDaemon.h"

namespace {

// Long enough for any machine, and a failure then.
constexpr long long kPatience = 60000000;
constexpr int kLocalOnly = -1;

class CNews
{
public:
    // Calls `change`, and wakes who waits.
    void Change(std::function<void()> const& change)
    {
        StMutexLocker const lock(mMutex);
        change();
        mChanged.Signal();
    }

    // For one thread at a time. False if it doesn't come true.
    bool WaitUntil(std::function<bool()> const& isTrue)
    {
        StMutexLocker const lock(mMutex);
        while (!isTrue()) {
            if (!mChanged.TimedWait(mMutex, kPatience)) return isTrue();
        }
        return true;
    }

private:
    CMutex mMutex;
    CCondition mChanged;
};

class CRegistered : public CNetServiceListener
{
public:
    void ServiceRegistered(CNetService* /*service*/, bool success) override
    {
        mNews.Change([&] { ++(success ? mSuccesses : mFailures); });
    }

    bool WaitForSuccesses(int count)
    {
        return mNews.WaitUntil([&] { return mSuccesses >= count; });
    }

    bool WaitForFailures(int count)
    {
        return mNews.WaitUntil([&] { return mFailures >= count; });
    }

private:
    CNews mNews;
    int mSuccesses = 0;
    int mFailures = 0;
};

struct Found
{
    std::string mHost;
    int mPort;
    NetServicePairs mTXT;
};

// What is there now, by name and interface, and what went.
class CFindings : public CNetServiceBrowserListener
{
public:
    using Key = std::pair<std::string, int>;

    void ServiceChanged(CNetServiceBrowser* /*browser*/,
                        bool added,
                        char const* name,
                        char const* host,
                        unsigned short port,
                        NetServicePairs* txt,
                        unsigned int interfaceIndex) override
    {
        Key const key{name, static_cast<int>(interfaceIndex)};
        mNews.Change([&] {
            mTwice = mTwice || (added && mThere.count(key) != 0);
            (added ? mThere : mGone)[key] = {host, port, *txt};
            if (!added) mThere.erase(key);
        });
    }

    void BrowseBatchDone(CNetServiceBrowser* /*browser*/) override
    {
        mNews.Change([&] { ++mBatches; });
    }

    bool WaitFor(std::string const& name, int interfaceIndex = kLocalOnly)
    {
        return mNews.WaitUntil([&] { return mThere.count({name, interfaceIndex}) != 0; });
    }

    bool WaitForEnd(std::string const& name, int interfaceIndex = kLocalOnly)
    {
        return mNews.WaitUntil([&] { return mGone.count({name, interfaceIndex}) != 0; });
    }

    bool WaitForNames(std::size_t count)
    {
        return mNews.WaitUntil([&] {
            std::set<std::string> names;
            for (auto const& [key, found] : mThere)
                names.insert(key.first);
            return names.size() >= count;
        });
    }

    bool WaitForBatch()
    {
        return mNews.WaitUntil([&] { return mBatches > 0; });
    }

    CNews mNews;
    std::map<Key, Found> mThere;
    std::map<Key, Found> mGone;
    bool mTwice = false;  // something came that was there
    int mBatches = 0;
};

// A program that runs beside the test.
class StProgram
{
public:
    explicit StProgram(std::vector<std::string> arguments)
    {
        std::vector<char*> argv;
        for (std::string& argument : arguments)
            argv.push_back(argument.data());
        argv.push_back(nullptr);
        int output[2] = {-1, -1};
        EXPECT_EQ(pipe2(output, O_CLOEXEC), 0);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions, output[1], STDERR_FILENO);
        EXPECT_EQ(posix_spawnp(&mId, argv[0], &actions, nullptr, argv.data(), environ), 0);
        posix_spawn_file_actions_destroy(&actions);
        close(output[1]);
        mOutput = output[0];
    }

    StProgram(StProgram const&) = delete;
    StProgram& operator=(StProgram const&) = delete;

    ~StProgram() { Stop(); }

    void Stop()
    {
        if (mId < 0) return;
        kill(mId, SIGTERM);
        waitpid(mId, nullptr, 0);
        close(mOutput);
        mId = -1;
    }

    // Until it ends.
    std::string ReadAll() const
    {
        std::string result;
        for (char c = 0; read(mOutput, &c, 1) == 1;)
            result += c;
        return result;
    }

private:
    pid_t mId = -1;
    int mOutput = -1;
};

// A browse of the platform's own, of which nothing is resolved but what goes.
class CPlainBrowse
{
public:
    CPlainBrowse()
    {
        EXPECT_EQ(NetServicePlatform().Browse(&mBrowse, kNetServiceLocalOnly, "_loam._tcp", nullptr,
                                              Browsed, this),
                  kNetServiceNoError);
    }

    CPlainBrowse(CPlainBrowse const&) = delete;
    CPlainBrowse& operator=(CPlainBrowse const&) = delete;

    ~CPlainBrowse()
    {
        if (mResolve) NetServicePlatform().Release(mResolve);
        NetServicePlatform().Release(mBrowse);
    }

    // Until so many events have come.
    bool WaitForEvents(std::size_t count)
    {
        pollfd wait{NetServicePlatform().GetSocket(mBrowse), POLLIN, 0};
        while (mFlags.size() < count) {
            if (poll(&wait, 1, static_cast<int>(kPatience / 1000)) == 0) return false;
            NetServicePlatform().Process(mBrowse);
        }
        return true;
    }

    // What is there of an answer, without a wait.
    void Look() const { NetServicePlatform().Process(mResolve); }

    std::vector<DNSServiceFlags> mFlags;  // of the events
    DNSServiceRef mResolve = nullptr;     // of what went
    std::vector<std::string> mAnswers;    // "host:port", and the bytes of the record

private:
    static void Browsed(DNSServiceRef /*ref*/,
                        DNSServiceFlags flags,
                        std::uint32_t interfaceIndex,
                        DNSServiceErrorType error,
                        char const* name,
                        char const* type,
                        char const* domain,
                        void* context)
    {
        EXPECT_EQ(error, kNetServiceNoError);
        auto* const self = static_cast<CPlainBrowse*>(context);
        self->mFlags.push_back(flags);
        if ((flags & kNetServiceAdd) != 0) return;
        EXPECT_EQ(NetServicePlatform().Resolve(
                      &self->mResolve, {interfaceIndex, name, type, domain}, Resolved, context),
                  kNetServiceNoError);
    }

    static void Resolved(DNSServiceRef /*ref*/,
                         DNSServiceFlags /*flags*/,
                         std::uint32_t /*interfaceIndex*/,
                         DNSServiceErrorType error,
                         char const* /*fullName*/,
                         char const* host,
                         std::uint16_t port,
                         std::uint16_t txtLength,
                         unsigned char const* /*txt*/,
                         void* context)
    {
        EXPECT_EQ(error, kNetServiceNoError);
        static_cast<CPlainBrowse*>(context)->mAnswers.push_back(
            std::string(host) + ":" + std::to_string(port) + " " + std::to_string(txtLength));
    }

    DNSServiceRef mBrowse = nullptr;
};

int CountDescriptors()
{
    int count = 0;
    DIR* const folder = opendir("/proc/self/fd");
    while (readdir(folder))
        ++count;
    closedir(folder);
    return count - 3;  // the folder, and the entries for it and its parent
}

class ServiceDaemonTest : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!mDaemon.IsRunning()) GTEST_SKIP() << mDaemon.WhyNot();
    }

    bool Register(CNetService& service,
                  char const* name,
                  NetServicePairs const* txt = nullptr,
                  bool allInterfaces = true)
    {
        return service.RegisterService(name, "_loam._tcp", 8000, nullptr, txt, allInterfaces, false,
                                       &mRegistered);
    }

    bool Browse(CNetServiceBrowser& browser, bool allInterfaces = true)
    {
        return browser.BrowseService("_loam._tcp", allInterfaces, false, &mFindings);
    }

    StServiceDaemon mDaemon;
    CRegistered mRegistered;
    CFindings mFindings;
};

}  // namespace

TEST_F(ServiceDaemonTest, CarriesHundredsOfServicesOverOneConnection)
{
    constexpr int kServices = 300;
    std::vector<std::unique_ptr<CNetService>> services;
    for (int i = 0; i < kServices; ++i) {
        services.push_back(std::make_unique<CNetService>());
        ASSERT_TRUE(
            Register(*services.back(), ("Scans " + std::to_string(i)).c_str(), nullptr, false));
    }
    CNetServiceBrowser browser;
    ASSERT_TRUE(Browse(browser, false));
    EXPECT_TRUE(mRegistered.WaitForSuccesses(kServices));
    EXPECT_TRUE(mFindings.WaitForNames(kServices));
    EXPECT_TRUE(mFindings.WaitForBatch());
    EXPECT_LE(CountDescriptors(), 40);
    RecordProperty("descriptors", CountDescriptors());

    services.clear();
    EXPECT_TRUE(mFindings.mNews.WaitUntil([&] { return mFindings.mThere.empty(); }));
    EXPECT_FALSE(mFindings.mTwice);
}

TEST_F(ServiceDaemonTest, UnderstandsAvahisOwnProgramsBothWays)
{
    // Theirs to us, and the order of the record, which says what comes from the wire.
    CNetServiceBrowser browser;
    ASSERT_TRUE(Browse(browser));
    StProgram theirs({"avahi-publish", "-s", "Caf\xC3\xA9 No. 1\\2", "_loam._tcp", "8001", "b=2",
                      "flag", "a=", "c=x=y"});
    EXPECT_TRUE(mFindings.WaitFor("Caf\xC3\xA9 No. 1\\2"));
    mFindings.mNews.Change([&] {
        Found const& found = mFindings.mThere[{"Caf\xC3\xA9 No. 1\\2", kLocalOnly}];
        EXPECT_EQ(found.mHost, "loamhost.local.");
        EXPECT_EQ(found.mPort, 8001);
        EXPECT_EQ(found.mTXT, (NetServicePairs{{"b", "2"}, {"a", ""}, {"c", "x=y"}}));
    });

    // One that goes is told at once, with what was known of it.
    theirs.Stop();
    EXPECT_TRUE(mFindings.WaitForEnd("Caf\xC3\xA9 No. 1\\2"));
    mFindings.mNews.Change([&] {
        Found const& found = mFindings.mGone[{"Caf\xC3\xA9 No. 1\\2", kLocalOnly}];
        EXPECT_EQ(found.mHost, "loamhost.local.");
        EXPECT_EQ(found.mPort, 8001);
    });

    // Ours to them. They print a record from its end.
    CNetService ours;
    NetServicePairs const txt{{"b", "2"}, {"a", "\xFF"}, {"c", ""}};
    ASSERT_TRUE(Register(ours, "Our scans", &txt));
    EXPECT_TRUE(mRegistered.WaitForSuccesses(1));
    StProgram browsing({"avahi-browse", "--resolve", "--parsable", "--terminate", "_loam._tcp"});
    std::string const output = browsing.ReadAll();
    EXPECT_THAT(output,
                testing::ContainsRegex("=;lo;.*;Our.032scans;_loam._tcp;local;loamhost.local;"));
    EXPECT_THAT(output, testing::HasSubstr(";8000;\"c=\" \"a=\\255\" \"b=2\""));
}

TEST_F(ServiceDaemonTest, DoesAsTheDesktopDoes)
{
    CNetServiceBrowser browser;
    CNetServiceBrowser localBrowser;
    CFindings localFindings;
    ASSERT_TRUE(Browse(browser));
    ASSERT_TRUE(localBrowser.BrowseService("_loam._tcp.", false, true, &localFindings));

    // A name in use gets a number.
    CNetService services[8];
    ASSERT_TRUE(Register(services[0], "Scans"));
    ASSERT_TRUE(Register(services[1], "Scans"));
    ASSERT_TRUE(Register(services[2], "Scans"));
    EXPECT_TRUE(mFindings.WaitFor("Scans"));
    EXPECT_TRUE(mFindings.WaitFor("Scans (2)"));
    EXPECT_TRUE(mFindings.WaitFor("Scans (3)"));

    // No name is that of the machine, and a long one is cut between characters.
    std::string const longName = std::string(62, 'x') + "\xC3\xA9";
    ASSERT_TRUE(Register(services[3], nullptr));
    ASSERT_TRUE(Register(services[4], longName.c_str()));
    EXPECT_TRUE(mFindings.WaitFor("loamhost"));
    EXPECT_TRUE(mFindings.WaitFor(std::string(62, 'x')));

    // Any host will do, and its address isn't asked for.
    ASSERT_TRUE(services[5].RegisterService("Elsewhere", "_loam._tcp", 80, "www.example.com.",
                                            nullptr, true, true, &mRegistered));
    EXPECT_TRUE(mFindings.WaitFor("Elsewhere"));

    // This machine alone, in both directions.
    int const ethernet = static_cast<int>(if_nametoindex("loam0"));
    ASSERT_TRUE(Register(services[6], "Private", nullptr, false));
    EXPECT_TRUE(mFindings.WaitFor("Private"));
    EXPECT_TRUE(localFindings.WaitFor("Private"));
    EXPECT_TRUE(localFindings.WaitFor("Scans"));
    localFindings.mNews.Change([&] {
        for (auto const& [key, found] : localFindings.mThere)
            EXPECT_EQ(key.second, kLocalOnly) << key.first;
    });
    mFindings.mNews.Change([&] {
        EXPECT_EQ((mFindings.mThere[{"Elsewhere", kLocalOnly}].mHost), "www.example.com.");
        EXPECT_EQ((mFindings.mThere.count({"Private", ethernet})), 0U);
        EXPECT_FALSE(mFindings.mTwice);
    });

    // What is no text never gets to the bus, which would end the process.
    EXPECT_FALSE(Register(services[7], "\xFF\xFE"));
    EXPECT_FALSE(services[7].RegisterService("x", "_lo\xC3m._tcp", 1, nullptr, nullptr, true, true,
                                             nullptr));
    EXPECT_FALSE(
        services[7].RegisterService("x", "_loam._tcp", 1, "\x80", nullptr, true, true, nullptr));
    EXPECT_FALSE(
        services[7].RegisterService("x", nullptr, 1, nullptr, nullptr, true, true, nullptr));
    EXPECT_FALSE(
        services[7].RegisterService("x", "nonsense", 1, nullptr, nullptr, true, true, nullptr));
    EXPECT_FALSE(localBrowser.BrowseService("\xFF", true, true, &localFindings));
}

// What the daemon knows already is one batch.
TEST_F(ServiceDaemonTest, TellsWhereABatchEnds)
{
    CNetServiceBrowser browser;
    ASSERT_TRUE(Browse(browser, false));
    CNetService services[5];
    for (CNetService& service : services)
        ASSERT_TRUE(Register(service, "Scans", nullptr, false));
    ASSERT_TRUE(mFindings.WaitForNames(5));

    constexpr DNSServiceFlags kMore = kNetServiceAdd | kNetServiceMoreComing;
    CPlainBrowse plain;
    ASSERT_TRUE(plain.WaitForEvents(5));
    EXPECT_THAT(plain.mFlags, testing::ElementsAre(kMore, kMore, kMore, kMore, kNetServiceAdd));
}

// Nobody on the network would answer, and the daemon gives up after seconds.
TEST_F(ServiceDaemonTest, AnswersAtOnceForWhatHasGone)
{
    CPlainBrowse plain;
    CNetService service;
    ASSERT_TRUE(Register(service, "Scans", nullptr, false));
    ASSERT_TRUE(plain.WaitForEvents(1));
    service.UnregisterService();
    ASSERT_TRUE(plain.WaitForEvents(2));
    EXPECT_THAT(plain.mFlags, testing::ElementsAre(kNetServiceAdd, 0U));
    // And nobody had asked for it while it was there.
    plain.Look();
    EXPECT_THAT(plain.mAnswers, testing::ElementsAre(":0 0"));
}

TEST_F(ServiceDaemonTest, OutlivesTheDaemon)
{
    if (kIsThreadSanitized) {
        GTEST_SKIP() << "libdbus takes two locks of its own in one order as it connects and in the "
                        "other as it closes";
    }
    CNetService service;
    CNetServiceBrowser browser;
    ASSERT_TRUE(Register(service, "Scans"));
    ASSERT_TRUE(Browse(browser));
    EXPECT_TRUE(mFindings.WaitFor("Scans"));

    mDaemon.Stop();
    EXPECT_TRUE(mRegistered.WaitForFailures(1));
    CNetService second;
    CNetServiceBrowser secondBrowser;
    EXPECT_FALSE(Register(second, "More scans"));
    EXPECT_FALSE(Browse(secondBrowser));

    mDaemon.Start();
    EXPECT_TRUE(Register(second, "More scans"));
    EXPECT_TRUE(Browse(secondBrowser));
    EXPECT_TRUE(mFindings.WaitFor("More scans"));

    // And where nobody listened while it was away.
    service.UnregisterService();
    browser.StopBrowsing();
    second.UnregisterService();
    secondBrowser.StopBrowsing();
    mDaemon.Stop();
    mDaemon.Start();
    EXPECT_TRUE(Register(service, "Other scans"));
    EXPECT_TRUE(Browse(browser));
    EXPECT_TRUE(mFindings.WaitFor("Other scans"));
}

TEST_F(ServiceDaemonTest, TakesBrowsingAndStoppingFromSeveralThreads)
{
    constexpr int kThreads = 4;
    constexpr int kRounds = 12;
    CNetService services[3];
    for (CNetService& service : services)
        ASSERT_TRUE(Register(service, "Scans"));
    EXPECT_TRUE(mRegistered.WaitForSuccesses(3));
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([] {
            CFindings findings;
            for (int round = 0; round < kRounds; ++round) {
                CNetServiceBrowser browser;
                browser.BrowseService("_loam._tcp", true, false, &findings);
                CNetService service;
                service.RegisterService("Scans", "_loam._tcp", 1, nullptr, nullptr, true, false,
                                        nullptr);
                if (round % 4 == 0) findings.WaitFor("Scans");
                std::thread stopping([&] { browser.StopBrowsing(); });
                service.UnregisterService();
                stopping.join();
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    CNetServiceBrowser browser;
    ASSERT_TRUE(Browse(browser));
    EXPECT_TRUE(mFindings.WaitFor("Scans"));
}

// Where there is no bus at all.
TEST(NoServiceDaemon, RefusesAtOnce)
{
    setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nowhere/bus", 1);
    CNetService service;
    CNetServiceBrowser browser;
    EXPECT_FALSE(
        service.RegisterService("x", "_loam._tcp", 1, nullptr, nullptr, true, true, nullptr));
    EXPECT_FALSE(browser.BrowseService("_loam._tcp", true, true, nullptr));
    unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
}

TEST(ServiceNames, FitIntoALabel)
{
    std::string const eAcute = "\xC3\xA9";
    EXPECT_EQ(FittingServiceName("Scans"), "Scans");
    EXPECT_EQ(FittingServiceName(std::string(63, 'x')), std::string(63, 'x'));
    EXPECT_EQ(FittingServiceName(std::string(64, 'x')), std::string(63, 'x'));
    EXPECT_EQ(FittingServiceName(std::string(61, 'x') + eAcute + "x"),
              std::string(61, 'x') + eAcute);
    EXPECT_EQ(FittingServiceName(std::string(62, 'x') + eAcute), std::string(62, 'x'));
    EXPECT_EQ(FittingServiceName(std::string(60, 'x') + "\xF0\x9F\x98\x80"), std::string(60, 'x'));
}

TEST(ServiceNames, CountOnWhenTaken)
{
    std::string const eAcute = "\xC3\xA9";

    struct
    {
        char const* mWhat;
        std::string mName;
        std::string mNext;
    } const cases[] = {
        {"plain", "Scans", "Scans (2)"},
        {"counted", "Scans (2)", "Scans (3)"},
        {"tens", "Scans (9)", "Scans (10)"},
        {"empty", "", " (2)"},
        {"only a number", " (2)", " (3)"},
        {"no blank", "Scans(2)", "Scans(2) (2)"},
        {"no number", "Scans ()", "Scans () (2)"},
        {"a word", "Scans (b)", "Scans (b) (2)"},
        {"a leading 0", "Scans (02)", "Scans (02) (2)"},
        {"a huge number", "Scans (1234567890)", "Scans (1234567890) (2)"},
        {"not at the end", "Scans (2) ", "Scans (2)  (2)"},
        {"no parenthesis", "Scans )", "Scans ) (2)"},
        {"no room", std::string(63, 'x'), std::string(59, 'x') + " (2)"},
        {"between characters", std::string(58, 'x') + eAcute + "xxx",
         std::string(58, 'x') + " (2)"},
        {"a longer number", std::string(59, 'x') + " (9)", std::string(58, 'x') + " (10)"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(NextServiceName(c.mName), c.mNext);
    }
}

// What one side escapes the other takes back.
TEST(ServiceNames, ComeBackFromTheFullName)
{
    for (std::string const name : {"Scans", "My Scans", "A.B", "A\\B", "\\.", ".", "Caf\xC3\xA9",
                                   "\t\x7F\x1F", "\\032", "046"}) {
        SCOPED_TRACE(name);
        std::string const full = FullServiceName(name, "_http._tcp", "local.");
        EXPECT_THAT(full, testing::EndsWith("._http._tcp.local."));
        EXPECT_EQ(PlainServiceName(full.c_str()), name);
    }
    EXPECT_EQ(FullServiceName("My \xC3\xA9.x", "_http._tcp.", "local"),
              "My\\032\xC3\xA9\\.x._http._tcp.local.");
}
