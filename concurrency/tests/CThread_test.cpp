#include "concurrency/CThread.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <optional>
#include <thread>

#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include "concurrency/CMutex.h"
#include "concurrency/CSemaphore.h"
#include "concurrency/StMutexLocker.h"
#include "files/CFile.h"
#include "files/CFileSpec.h"
#include "foundation/FailureDomains.h"
#include "marl/HierarchicalException.h"
#include "net/CNetConnection.h"
#include "system/CLogFile.h"
#include "system/CSharedMemory.h"
#include "testing/FailureOf.h"
#include "testing/StTempDir.h"

namespace {

// Runs what it is given, and tells when it goes.
class CWorker : public CThread
{
public:
    CWorker(std::function<void()> work, CThread** externalRef, CMutex* mutex, CSemaphore* semaphore)
        : CThread(externalRef, mutex, semaphore)
        , mWork(std::move(work))
    {
    }

    ~CWorker() override
    {
        if (mAtEnd) mAtEnd();
    }

    void* Run() override
    {
        mWork();
        return nullptr;
    }

    std::function<void()> mAtEnd;

private:
    std::function<void()> mWork;
};

}  // namespace

TEST(CThread, RunsAndDestroysItselfWithNothingToTell)
{
    std::atomic<bool> isGone{false};
    auto* const worker = new CWorker([] {}, nullptr, nullptr, nullptr);
    worker->mAtEnd = [&] { isGone = true; };
    worker->mImp->Start();
    while (!isGone)
        std::this_thread::yield();
    SUCCEED();
}

TEST(CThread, SetsTheExternalReferenceAtOnceAndClearsItWhenGone)
{
    CMutex mutex;
    CSemaphore done;
    CThread* reference = nullptr;
    std::atomic<bool> mayEnd{false};
    auto* const worker = new CWorker(
        [&] {
            while (!mayEnd)
                std::this_thread::yield();
        },
        &reference, &mutex, &done);
    EXPECT_EQ(reference, worker);

    worker->mImp->Start();
    {
        StMutexLocker const lock(mutex);
        EXPECT_EQ(reference, worker);
    }
    mayEnd = true;
    done.Wait();
    StMutexLocker const lock(mutex);
    EXPECT_EQ(reference, nullptr);
}

TEST(CThread, ClearsDeletesUnlocksAndPostsInThisOrder)
{
    CMutex mutex;
    CSemaphore done;
    CThread* reference = nullptr;
    std::atomic<bool> isClearedFirst{false};
    std::atomic<bool> isDeletedUnderTheLock{false};
    std::atomic<int> stateAtDeletion{-1};
    auto* const worker = new CWorker([] {}, &reference, &mutex, &done);
    worker->mAtEnd = [&] {
        isClearedFirst = reference == nullptr;
        isDeletedUnderTheLock = !mutex.TryLock();
        stateAtDeletion = done.GetState();
    };
    worker->mImp->Start();
    done.Wait();
    EXPECT_TRUE(isClearedFirst);
    EXPECT_TRUE(isDeletedUnderTheLock);
    EXPECT_LE(stateAtDeletion, 0);
    EXPECT_EQ(done.GetState(), 0);
    EXPECT_FALSE(done.Immediate());
    EXPECT_TRUE(mutex.TryLock());
    mutex.Unlock();
}

TEST(CThread, UnlocksBeforeItPosts)
{
    CMutex mutex;
    CMutex gate;
    CSemaphore done(gate);
    std::atomic<bool> isAtEnd{false};
    auto* const worker = new CWorker([] {}, nullptr, &mutex, &done);
    worker->mAtEnd = [&] { isAtEnd = true; };
    gate.Lock();  // the thread stops in front of its post
    worker->mImp->Start();
    while (!isAtEnd)
        std::this_thread::yield();
    mutex.Lock();  // comes back only because the thread has let it go
    mutex.Unlock();
    EXPECT_EQ(done.GetState(), 0);
    gate.Unlock();
    done.Wait();
}

TEST(CThread, AKillThatTheWorkDoesNotGetToHasNoEffect)
{
    CMutex mutex;
    CSemaphore done;
    CThread* reference = nullptr;
    std::atomic<bool> isRunning{false};
    std::atomic<bool> isKilled{false};
    auto* const worker = new CWorker(
        [&] {
            isRunning = true;
            while (!isKilled)
                std::this_thread::yield();
        },
        &reference, &mutex, &done);
    worker->mAtEnd = [] { CThread::Yield(); };
    CBasicThreadImp* const imp = worker->mImp;
    imp->Start();
    while (!isRunning)
        std::this_thread::yield();
    imp->Kill();
    isKilled = true;
    done.Wait();
    EXPECT_EQ(reference, nullptr);
}

TEST(CThread, EndsTheProcessWhereItCanTellNobody)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");

    struct Case
    {
        char const* mWhat;
        std::function<void(CSemaphore&)> mWork;
        char const* mSeen;
    };

    Case const cases[] = {
        {"an exception leaves the work",
         [](CSemaphore&) { throw HierarchicalException(kThreadDomain, 100, 77, 0, nullptr); },
         "operation 77"},
        {"the semaphore has been aborted", [](CSemaphore& done) { done.Abort(); }, "operation 14"},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        auto const endInTheThread = [&] {
            std::set_terminate([] {
                Failure const failure =
                    FailureOf([] { std::rethrow_exception(std::current_exception()); });
                std::fprintf(stderr, "operation %d\n", failure.mContext);
                std::_Exit(1);
            });
            CSemaphore done;
            (new CWorker([&] { c.mWork(done); }, nullptr, nullptr, &done))->mImp->Start();
            for (;;)
                pause();
        };
        EXPECT_DEATH(endInTheThread(), c.mSeen);
    }
}

TEST(CThread, KeepsWhatOneThatWasNeverStartedLeaves)
{
    // Kept reachable: what a thread object leaves behind when it is deleted this way is lost by
    // design.
    static CBasicThreadImp* sLeftBehind = nullptr;
    bool isGone = false;
    CThread* reference = nullptr;
    auto* const worker = new CWorker([] {}, &reference, nullptr, nullptr);
    worker->mAtEnd = [&] { isGone = true; };
    sLeftBehind = worker->mImp;
    delete worker;
    EXPECT_TRUE(isGone);
    EXPECT_NE(sLeftBehind, nullptr);
    EXPECT_NE(reference, nullptr);
}

TEST(CThread, KeepsEverythingAsItIsWhenKilled)
{
    static CThread* sReference =
        nullptr;  // static, so that what a killed thread leaves stays reachable
    static CMutex sMutex;
    static CSemaphore sDone;
    std::atomic<bool> isRunning{false};
    std::atomic<bool> isUnwound{false};
    std::atomic<bool> isDeleted{false};
    pthread_t thread{};

    auto* const worker = new CWorker(
        [&] {
            struct StTold
            {
                std::atomic<bool>& mFlag;
                ~StTold() { mFlag = true; }
            };
            StTold const told{isUnwound};
            thread = pthread_self();
            isRunning = true;
            for (;;)
                CThread::Yield();
        },
        &sReference, &sMutex, &sDone);
    worker->mAtEnd = [&] { isDeleted = true; };
    CBasicThreadImp* const imp = worker->mImp;
    imp->Start();
    while (!isRunning)
        std::this_thread::yield();
    imp->Kill();

    // A killed thread was never detached, so its end can be waited for.
    void* result = nullptr;
    ASSERT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
#ifdef __linux__
    EXPECT_TRUE(isUnwound);
#endif
    EXPECT_FALSE(isDeleted);
    EXPECT_EQ(sReference, worker);
    EXPECT_EQ(sDone.GetState(), 0);
    EXPECT_TRUE(sMutex.TryLock());
    sMutex.Unlock();
    worker->mAtEnd = nullptr;
}

TEST(CThread, AWaiterThatIsKilledHoldsNoLockAfterwards)
{
    static CThread* sReference = nullptr;
    // Never destroyed: where nothing is unwound, the waiter leaves the lock held.
    static CMutex& monitor = *new CMutex;
    static CSemaphore& semaphore = *new CSemaphore(monitor);
    pthread_t thread{};
    std::atomic<bool> isRunning{false};
    auto* const worker = new CWorker(
        [&] {
            thread = pthread_self();
            isRunning = true;
            semaphore.Wait();
        },
        &sReference, nullptr, nullptr);
    CBasicThreadImp* const imp = worker->mImp;
    imp->Start();
    while (!isRunning || semaphore.GetState() != -1)
        std::this_thread::yield();
    imp->Kill();
    ASSERT_EQ(pthread_join(thread, nullptr), 0);
#ifdef __linux__
    EXPECT_TRUE(monitor.TryLock());
    monitor.Unlock();
#endif
}

// The kill is there when they close what they hold, and takes effect behind them.
TEST(CThread, AKillDoesNotMeetTheLibrarysObjectsOnTheirWayOut)
{
    StTempDir const folder;
    CFileSpec const spec(folder.Write("file", "text"), false);
    CNetConnection server;
    unsigned short const port = server.SetServerPort(false, 20000, 30000, 1);
    static CThread* sReferences[4] = {};  // what killed threads leave stays reachable
    std::atomic<bool> isHeld{false};
    std::atomic<bool> isKilled{false};
    auto const hold = [&] {
        isHeld = true;
        while (!isKilled)
            std::this_thread::yield();
    };

    struct Case
    {
        char const* mWhat;
        std::function<void()> mWork;
    };

    Case const cases[] = {
        {"a file",
         [&] {
             CFile file(spec);
             file.Open(CFile::cPrivilegeRead);
             hold();
         }},
        {"shared memory",
         [&] {
             CSharedMemory block;
             block.Allocate(16, true);
             hold();
         }},
        {"a log",
         [&] {
             CLogFile log;
             log.OpenLogFile(spec, -1);
             hold();
         }},
        {"a connection",
         [&] {
             CNetConnection connection;
             connection.ResolveRemoteHost("127.0.0.1", port);
             connection.Connect(10);
             hold();
         }},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        std::atomic<bool> isBehind{false};
        std::atomic<pthread_t> thread{};
        isHeld = false;
        isKilled = false;
        auto* const worker = new CWorker(
            [&] {
                thread = pthread_self();
                c.mWork();
                isBehind = true;
                for (;;)
                    CThread::Yield();
            },
            &sReferences[&c - cases], nullptr, nullptr);
        CBasicThreadImp* const imp = worker->mImp;
        imp->Start();
        while (!isHeld)
            std::this_thread::yield();
        imp->Kill();
        isKilled = true;
        void* result = nullptr;
        ASSERT_EQ(pthread_join(thread, &result), 0);
        EXPECT_EQ(result, PTHREAD_CANCELED);
        EXPECT_TRUE(isBehind);
    }
    server.Disconnect();
}

TEST(CThread, YieldReturnsWithNothingPending)
{
    for (int i = 0; i < 1000; ++i)
        CThread::Yield();
    SUCCEED();
}

TEST(CThread, ReferencesTellLiveThreadsApart)
{
    unsigned long const mine = CThread::GetCurrentThreadRef();
    EXPECT_EQ(CThread::GetCurrentThreadRef(), mine);
    unsigned long other = mine;
    std::thread([&] { other = CThread::GetCurrentThreadRef(); }).join();
    EXPECT_NE(other, mine);
    EXPECT_NE(other, 0u);
}
