#include "concurrency/CCondition.h"

#include "concurrency/StMutexLocker.h"
#include "testing/OtherThread.h"

#include <gtest/gtest.h>

#include <future>
#include <limits>
#include <thread>
#include <type_traits>

#include <pthread.h>

static_assert(!std::is_polymorphic_v<CCondition>);
static_assert(!std::is_copy_constructible_v<CCondition>);

namespace {

constexpr long long kForEver = std::numeric_limits<long long>::max();

// A thread that takes the mutex `depth` times and waits until it is told to go on.
class CWaiter
{
public:
    CWaiter(CMutex& mutex, CCondition& condition, int depth, bool isTimed)
        : mMutex(mutex)
        , mCondition(condition)
        , mThread([=, this] { Run(depth, isTimed); })
    {
    }

    // Returns with the mutex held, once the waiter has given it up for its wait.
    void LockWhileItWaits()
    {
        mHolds.get_future().wait();
        mMutex.Lock();
    }

    // The mutex is held.
    void TellToGoOn()
    {
        mMayGoOn = true;
        mCondition.Signal();
    }

    void Join() { mThread.join(); }

private:
    void Run(int depth, bool isTimed)
    {
        for (int i = 0; i < depth; ++i)
            mMutex.Lock();
        mHolds.set_value();
        while (!mMayGoOn) {
            if (isTimed) {
                EXPECT_TRUE(mCondition.TimedWait(mMutex, kForEver));
            } else {
                mCondition.Wait(mMutex);
            }
        }
        for (int i = 0; i < depth; ++i) {
            EXPECT_FALSE(IsFreeForOthers(mMutex)) << "after " << i << " of " << depth;
            mMutex.Unlock();
        }
    }

    CMutex& mMutex;
    CCondition& mCondition;
    std::promise<void> mHolds;
    bool mMayGoOn = false;  // guarded by mMutex
    std::thread mThread;
};

}  // namespace

TEST(CCondition, GivesUpTheMutexForTheWaitAndTakesItBackAtItsDepth)
{
    struct Case
    {
        char const* mWhat;
        int mDepth;
        bool mIsRecursive;
        bool mIsTimed;
    };

    Case const cases[] = {
        {"plain", 1, false, false},           {"plain, timed", 1, false, true},
        {"recursive", 1, true, false},        {"recursive, timed", 1, true, true},
        {"three times held", 3, true, false}, {"three times held, timed", 3, true, true},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        CMutex mutex(c.mIsRecursive);
        CCondition condition;
        CWaiter waiter(mutex, condition, c.mDepth, c.mIsTimed);
        waiter.LockWhileItWaits();
        waiter.TellToGoOn();
        mutex.Unlock();
        waiter.Join();
        EXPECT_TRUE(IsFreeForOthers(mutex));
    }
}

TEST(CCondition, LetsAnotherThreadHoldARecursiveMutexAtItsOwnDepthMeanwhile)
{
    CMutex mutex(true);
    CCondition condition;
    CWaiter waiter(mutex, condition, 3, false);
    waiter.LockWhileItWaits();
    mutex.Lock();
    EXPECT_FALSE(IsFreeForOthers(mutex));
    mutex.Unlock();
    EXPECT_FALSE(IsFreeForOthers(mutex));
    waiter.TellToGoOn();
    mutex.Unlock();
    waiter.Join();
    EXPECT_TRUE(IsFreeForOthers(mutex));
}

TEST(CCondition, TimedWaitIsFalseWhenTheTimeIsUp)
{
    for (long long const microseconds : {0LL, 1LL, -1LL, std::numeric_limits<long long>::min()}) {
        for (int const depth : {1, 3}) {
            SCOPED_TRACE(microseconds);
            CMutex mutex(true);
            CCondition condition;
            for (int i = 0; i < depth; ++i)
                mutex.Lock();
            // It may also wake for no reason, which it reports as true.
            while (condition.TimedWait(mutex, microseconds))
                continue;
            for (int i = 0; i < depth; ++i) {
                EXPECT_FALSE(IsFreeForOthers(mutex));
                mutex.Unlock();
            }
            EXPECT_TRUE(IsFreeForOthers(mutex));
        }
    }
}

TEST(CCondition, SignalWithoutWaitersIsForgotten)
{
    CMutex mutex;
    CCondition condition;
    condition.Signal();
    StMutexLocker const lock(mutex);
    while (condition.TimedWait(mutex, 0))
        continue;
}

TEST(CCondition, SignalsReachAllWhoWait)
{
    CMutex mutex;
    CCondition condition;
    CWaiter first(mutex, condition, 1, false);
    CWaiter second(mutex, condition, 1, false);
    first.LockWhileItWaits();
    mutex.Unlock();
    second.LockWhileItWaits();
    first.TellToGoOn();
    second.TellToGoOn();
    mutex.Unlock();
    first.Join();
    second.Join();
}

#ifdef __linux__
// A thread that is cancelled in its wait unwinds, and holds the mutex again meanwhile. On macOS it
// doesn't unwind.
TEST(CCondition, PutsTheDepthBackForAThreadThatIsCancelled)
{
    struct Shared
    {
        CMutex mMutex{true};
        CCondition mCondition;
        std::promise<void> mHolds;
    };

    Shared shared;
    auto const run = [](void* argument) -> void* {
        auto& s = *static_cast<Shared*>(argument);
        StMutexLocker const outer(s.mMutex);
        StMutexLocker const inner(s.mMutex);
        s.mHolds.set_value();
        for (;;)
            s.mCondition.Wait(s.mMutex);
    };
    pthread_t thread{};
    ASSERT_EQ(pthread_create(&thread, nullptr, run, &shared), 0);
    shared.mHolds.get_future().wait();
    {
        StMutexLocker const lock(shared.mMutex);
        ASSERT_EQ(pthread_cancel(thread), 0);
    }
    void* result = nullptr;
    ASSERT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_TRUE(IsFreeForOthers(shared.mMutex));
}
#endif
