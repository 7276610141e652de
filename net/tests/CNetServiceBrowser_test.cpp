// Browses, the resolves that they start, and the thread on which all of it is heard.

#include "net/CNetServiceBrowser.h"

#include <csignal>
#include <functional>
#include <memory>
#include <thread>

#include <gmock/gmock.h>
#include <pthread.h>

#include "concurrency/CSemaphore.h"
#include "concurrency/StMutexLocker.h"
#include "net/CNetService.h"
#include "net/CNetServiceBrowserListener.h"
#include "net/CNetServiceEventsThread.h"
#include "net/tests/Peers.h"
#include "testing/ScriptedNetServicePlatform.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr long long kPatience = 60000000;
constexpr DNSServiceFlags kMore = kNetServiceMoreComing;
constexpr DNSServiceFlags kAdd = kNetServiceAdd;

// Notes what it is told, a line each, and may do something about it.
class CNotes : public CNetServiceBrowserListener
{
public:
    void ServiceChanged(CNetServiceBrowser* browser,
                        bool added,
                        char const* name,
                        char const* host,
                        unsigned short port,
                        std::vector<std::pair<std::string, std::string>>* txt,
                        unsigned int interfaceIndex) override
    {
        std::string note = added ? "+" : "-";
        note += name;
        note += " " + std::string(host) + ":" + std::to_string(port);
        for (auto const& [key, value] : *txt)
            note += " " + key + "=" + value;
        note += " on " + std::to_string(interfaceIndex);
        mNotes.push_back(note);
        mBrowser = browser;
        if (mAtChange) mAtChange();
    }

    void BrowseBatchDone(CNetServiceBrowser* browser) override
    {
        mNotes.push_back("done");
        mBrowser = browser;
        if (mAtDone) mAtDone();
        mDone.Post();
    }

    std::vector<std::string> mNotes;
    CNetServiceBrowser* mBrowser = nullptr;
    std::function<void()> mAtChange;
    std::function<void()> mAtDone;
    CSemaphore mDone;
};

class CNetServiceBrowserTest : public testing::Test
{
protected:
    ~CNetServiceBrowserTest() override { EXPECT_EQ(mPlatform.CountMisuses(), 0); }

    // Answers the reference of the browse.
    DNSServiceRef Browse(CNetServiceBrowser& browser)
    {
        EXPECT_TRUE(browser.BrowseService("_http._tcp", true, false, &mListener));
        return mPlatform.Newest();
    }

    // Answers the reference of the resolve that the event starts.
    DNSServiceRef Browsed(DNSServiceRef browse, DNSServiceFlags flags, char const* name)
    {
        mPlatform.Browsed(browse, flags, name);
        return mPlatform.Newest();
    }

    void Resolved(DNSServiceRef resolve, std::string const& name)
    {
        mPlatform.Resolved(resolve, (name + "._http._tcp.local.").c_str());
    }

    ScriptedNetServicePlatform mPlatform;
    StNetServicePlatform mInUse{mPlatform};
    CNotes mListener;
};

using CNetServiceEventsThreadTest = CNetServiceBrowserTest;

bool HasEventsThread()
{
    StMutexLocker const lock(CNetServiceEventsThread::sNetServicesEventsThreadMutex);
    return CNetServiceEventsThread::sNetServicesEventsThread != nullptr;
}

}  // namespace

TEST_F(CNetServiceBrowserTest, SaysWhatAndWhere)
{
    struct
    {
        char const* mWhat;
        bool mAllInterfaces;
        bool mAnyDomain;
        char const* mCall;
    } const cases[] = {
        {"everywhere", true, true, "browse #1 if=0 type=_http._tcp domain=-"},
        {"this machine alone", false, true, "browse #1 if=-1 type=_http._tcp domain=-"},
        {"the local domain", true, false, "browse #1 if=0 type=_http._tcp domain=local."},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        ScriptedNetServicePlatform platform;
        StNetServicePlatform const inUse(platform);
        CNetServiceBrowser browser;
        EXPECT_TRUE(
            browser.BrowseService("_http._tcp", c.mAllInterfaces, c.mAnyDomain, &mListener));
        EXPECT_THAT(platform.Trace(), ElementsAre(c.mCall));
    }
}

TEST_F(CNetServiceBrowserTest, AnswersFalseWhereTheSystemRefuses)
{
    CNetServiceBrowser browser;
    mPlatform.RefuseNext(-65537);
    EXPECT_FALSE(browser.BrowseService("_http._tcp", true, true, &mListener));
    browser.StopBrowsing();
    EXPECT_EQ(mPlatform.Trace().size(), 1U);
}

TEST_F(CNetServiceBrowserTest, StopsTheFirstBrowseForASecond)
{
    CNetServiceBrowser browser;
    Browse(browser);
    Browse(browser);
    EXPECT_THAT(mPlatform.Trace(), ElementsAre(testing::StartsWith("browse #1"), "release #1",
                                               testing::StartsWith("browse #2")));
}

TEST_F(CNetServiceBrowserTest, ResolvesWhatComesAndWhatGoes)
{
    CNetServiceBrowser browser;
    DNSServiceRef const browse = Browse(browser);
    for (DNSServiceFlags const flags : {kAdd, DNSServiceFlags{0}}) {
        DNSServiceRef const resolve = Browsed(browse, flags, "My Scans");
        mPlatform.Resolved(resolve, "My\\032Scans._http._tcp.local.", "\3b=2\4flag\2a=");
    }
    EXPECT_THAT(
        mPlatform.Trace(),
        ElementsAre(testing::_, "resolve #2 if=4 name=My Scans type=_http._tcp. domain=local.",
                    "release #2", "resolve #3 if=4 name=My Scans type=_http._tcp. domain=local.",
                    "release #3"));
    EXPECT_THAT(mListener.mNotes, ElementsAre("+My Scans host.local.:8000 b=2 a= on 4", "done",
                                              "-My Scans host.local.:8000 b=2 a= on 4", "done"));
    EXPECT_EQ(mListener.mBrowser, &browser);
}

TEST_F(CNetServiceBrowserTest, PassesOverFailedEventsAndThoseThatNobodyHears)
{
    CNetServiceBrowser browser;
    mPlatform.Browsed(Browse(browser), kAdd, "Scans", -65537);
    EXPECT_TRUE(browser.BrowseService("_http._tcp", true, true, nullptr));
    mPlatform.Browsed(mPlatform.Newest(), kAdd, "Scans");
    EXPECT_EQ(mPlatform.CountLiving(), 1);
    EXPECT_THAT(mListener.mNotes, IsEmpty());
}

TEST_F(CNetServiceBrowserTest, TellsOfABatchOnceAllOfItIsResolved)
{
    struct
    {
        char const* mWhat;
        bool mAnswersFirstBeforeSecond;
        bool mAnswersSecondFirst;
        std::vector<std::string> mNotes;
    } const cases[] = {
        {"both at the end", false, false, {"+A h", "+B h", "done"}},
        {"the other way round", false, true, {"+B h", "+A h", "done"}},
        {"one in between", true, false, {"+A h", "+B h", "done"}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        mListener.mNotes.clear();
        CNetServiceBrowser browser;
        DNSServiceRef const browse = Browse(browser);
        DNSServiceRef const first = Browsed(browse, kAdd | kMore, "A");
        if (c.mAnswersFirstBeforeSecond) Resolved(first, "A");
        DNSServiceRef const second = Browsed(browse, kAdd, "B");
        if (c.mAnswersSecondFirst) Resolved(second, "B");
        if (!c.mAnswersFirstBeforeSecond) Resolved(first, "A");
        if (!c.mAnswersSecondFirst) Resolved(second, "B");
        for (std::string& note : mListener.mNotes)
            note = note.substr(0, 4);
        EXPECT_EQ(mListener.mNotes, c.mNotes);
    }
}

TEST_F(CNetServiceBrowserTest, GoesOnWhereAResolveCannotBeMade)
{
    CNetServiceBrowser browser;
    DNSServiceRef const browse = Browse(browser);
    for (DNSServiceErrorType const error : {-65537, 0}) {
        mPlatform.RefuseNext(error);
        Browsed(browse, kAdd, "Scans");
    }
    EXPECT_EQ(mPlatform.CountLiving(), 1);
    EXPECT_THAT(mListener.mNotes, ElementsAre("done", "done"));
}

TEST_F(CNetServiceBrowserTest, SaysNothingOfWhatCannotBeResolved)
{
    CNetServiceBrowser browser;
    DNSServiceRef const resolve = Browsed(Browse(browser), kAdd, "Scans");
    mPlatform.Resolved(resolve, "", "", -65537);
    EXPECT_EQ(mPlatform.CountLiving(), 1);
    EXPECT_THAT(mListener.mNotes, ElementsAre("done"));
}

TEST_F(CNetServiceBrowserTest, ReleasesOnceWhoeverStops)
{
    {
        CNetServiceBrowser browser;
        DNSServiceRef const browse = Browse(browser);
        Browsed(browse, kAdd | kMore, "A");
        Browsed(browse, kAdd, "B");
        browser.StopBrowsing();
        browser.StopBrowsing();
    }
    EXPECT_THAT(mPlatform.Trace(), ElementsAre(testing::_, testing::_, testing::_, "release #1",
                                               "release #2", "release #3"));
    EXPECT_THAT(mListener.mNotes, IsEmpty());
}

// A resolve that was stopped is still waited for, in a later browse too.
TEST_F(CNetServiceBrowserTest, KeepsStoppedResolvesCounted)
{
    CNetServiceBrowser browser;
    Browsed(Browse(browser), kAdd, "A");
    browser.StopBrowsing();
    Resolved(Browsed(Browse(browser), kAdd, "B"), "B");
    EXPECT_THAT(mListener.mNotes, ElementsAre(testing::StartsWith("+B")));
}

TEST_F(CNetServiceBrowserTest, LetsTheListenerStop)
{
    CNetServiceBrowser browser;
    DNSServiceRef const browse = Browse(browser);
    DNSServiceRef const first = Browsed(browse, kAdd | kMore, "A");
    Browsed(browse, kAdd, "B");
    mListener.mAtChange = [&] { browser.StopBrowsing(); };
    Resolved(first, "A");
    EXPECT_EQ(mPlatform.CountLiving(), 0);
    EXPECT_THAT(mListener.mNotes, ElementsAre(testing::StartsWith("+A")));
}

TEST_F(CNetServiceBrowserTest, LetsTheListenerBrowseAgain)
{
    CNetServiceBrowser browser;
    DNSServiceRef const resolve = Browsed(Browse(browser), kAdd, "A");
    mListener.mAtChange = [&] { Browse(browser); };
    Resolved(resolve, "A");
    EXPECT_EQ(mPlatform.CountLiving(), 1);
    EXPECT_THAT(mPlatform.Trace(), ElementsAre(testing::_, testing::_, "release #1", "release #2",
                                               testing::StartsWith("browse #3")));
    EXPECT_THAT(mListener.mNotes, ElementsAre(testing::StartsWith("+A"), "done"));
}

TEST_F(CNetServiceBrowserTest, LetsTheListenerDeleteTheBrowser)
{
    for (bool const atDone : {false, true}) {
        SCOPED_TRACE(atDone);
        auto browser = std::make_unique<CNetServiceBrowser>();
        DNSServiceRef const resolve = Browsed(Browse(*browser), kAdd, "A");
        (atDone ? mListener.mAtDone : mListener.mAtChange) = [&] { browser.reset(); };
        Resolved(resolve, "A");
        EXPECT_EQ(browser, nullptr);
        EXPECT_EQ(mPlatform.CountLiving(), 0);
    }
}

TEST_F(CNetServiceBrowserTest, LetsTheListenerDeleteTheBrowserBehindAnEvent)
{
    auto browser = std::make_unique<CNetServiceBrowser>();
    DNSServiceRef const browse = Browse(*browser);
    mListener.mAtDone = [&] { browser.reset(); };
    mPlatform.RefuseNext(-65537);
    mPlatform.Browsed(browse, kAdd, "A");
    EXPECT_EQ(mPlatform.CountLiving(), 0);
}

TEST_F(CNetServiceEventsThreadTest, HearsOfAllThatComesAtOnce)
{
    constexpr int kServices = 300;
    mPlatform.AnswerByItself(kServices);
    CNetServiceBrowser browser;
    Browse(browser);
    EXPECT_TRUE(mListener.mDone.TimedWait(kPatience));
    browser.StopBrowsing();
    EXPECT_EQ(mListener.mNotes.size(), kServices + 1U);
    EXPECT_EQ(mListener.mNotes.back(), "done");
    EXPECT_EQ(mPlatform.CountLiving(), 0);
}

TEST_F(CNetServiceEventsThreadTest, HearsBeyond1100Descriptors)
{
    StManyDescriptors const many;
    if (!many.AreEnough()) GTEST_SKIP() << "so many descriptors aren't allowed here";
    mPlatform.AnswerByItself(1);
    CNetServiceBrowser browser;
    EXPECT_GT(mPlatform.GetSocket(Browse(browser)), 1100);
    EXPECT_TRUE(mListener.mDone.TimedWait(kPatience));
    browser.StopBrowsing();
    EXPECT_EQ(mListener.mNotes.size(), 2U);
}

// The listener is still at it when another thread deletes the browser, which has to wait for that.
TEST_F(CNetServiceEventsThreadTest, StopsOnlyWhenTheListenerHasReturned)
{
    for (bool const stopsItself : {false, true}) {
        SCOPED_TRACE(stopsItself);
        mPlatform.AnswerByItself(1);
        auto browser = std::make_unique<CNetServiceBrowser>();
        CSemaphore isIn;
        CSemaphore mayLeave;
        bool hasLeft = false;
        mListener.mAtChange = [&] {
            if (stopsItself) browser->StopBrowsing();
            isIn.Post();
            mayLeave.TimedWait(kPatience);
            hasLeft = true;
        };
        Browse(*browser);
        ASSERT_TRUE(isIn.TimedWait(kPatience));
        std::thread other([&] {
            browser.reset();
            EXPECT_TRUE(hasLeft);
        });
        mayLeave.Post();
        other.join();
        EXPECT_EQ(mPlatform.CountLiving(), 0);
    }
}

TEST_F(CNetServiceEventsThreadTest, EndsWithAFatalErrorAndIsMadeAgain)
{
    CNetServiceBrowser former;
    DNSServiceRef const browse = Browse(former);
    mPlatform.FailNextProcess(-65563);
    mPlatform.Post(browse, [] {});
    while (HasEventsThread())
        std::this_thread::yield();
    CNetServiceEventsThread::AddRef(browse);
    CNetServiceEventsThread::RemoveRef(browse);
    EXPECT_FALSE(HasEventsThread());
    // Its references are as good as forgotten, and go nevertheless.
    CNetService unheard;
    EXPECT_TRUE(HasEventsThread());
    former.StopBrowsing();
    EXPECT_EQ(mPlatform.CountLiving(), 0);

    mPlatform.AnswerByItself(1);
    Browse(former);
    EXPECT_TRUE(mListener.mDone.TimedWait(kPatience));
    former.StopBrowsing();
}

TEST_F(CNetServiceEventsThreadTest, GoesOnAfterASignal)
{
    struct sigaction action = {};
    action.sa_handler = [](int) {};  // without SA_RESTART
    // It stays for good: the last signal can still be on its way when the case is over.
    sigaction(SIGUSR1, &action, nullptr);
    CNetServiceBrowser browser;
    DNSServiceRef const browse = Browse(browser);
    CSemaphore isHeard;
    for (int i = 0; i < 3; ++i) {
        pthread_t thread{};
        mPlatform.Post(browse, [&] {
            thread = pthread_self();
            isHeard.Post();
        });
        ASSERT_TRUE(isHeard.TimedWait(kPatience));
        pthread_kill(thread, SIGUSR1);
    }
    browser.StopBrowsing();
}

TEST_F(CNetServiceEventsThreadTest, IsOneForAllObjects)
{
    CNetServiceBrowser browser;
    CThread* const thread = CNetServiceEventsThread::sNetServicesEventsThread;
    CNetService service;
    StMutexLocker const lock(CNetServiceEventsThread::sNetServicesEventsThreadMutex);
    EXPECT_EQ(CNetServiceEventsThread::sNetServicesEventsThread, thread);
}

TEST_F(CNetServiceEventsThreadTest, LetsSeveralThreadsBrowseStopAndDelete)
{
    constexpr int kThreads = 4;
    constexpr int kRounds = 40;
    mPlatform.AnswerByItself(3);
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([i] {
            CNotes listener;
            for (int round = 0; round < kRounds; ++round) {
                auto browser = std::make_unique<CNetServiceBrowser>();
                CNetService service;
                service.RegisterService("Scans", "_http._tcp", 1, nullptr, nullptr, true, true,
                                        nullptr);
                browser->BrowseService("_http._tcp", true, true, &listener);
                std::thread stopping([&] { browser->StopBrowsing(); });
                browser->BrowseService("_http._tcp", true, true, &listener);
                // Some rounds end in the middle of a batch, some behind it.
                if (round % 4 == i && round < 8) listener.mDone.TimedWait(1000000);
                stopping.join();
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(mPlatform.CountLiving(), 0);
}
