#include "concurrency/CSemaphore.h"

#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "concurrency/StMutexLocker.h"
#include "foundation/FailureDomains.h"
#include "marl/HierarchicalException.h"

namespace {

// Returns once `semaphore` stands at `state`. A waiter enters its claim before it blocks and holds
// the lock until it does, so whoever sees the claim and then takes the lock finds the waiter
// blocked.
void AwaitState(CSemaphore& semaphore, int state)
{
    while (semaphore.GetState() != state)
        std::this_thread::yield();
}

// The context of the abort exception that `action` throws, or 0.
template <class Action>
int AbortContext(Action action)
{
    try {
        action();
    } catch (HierarchicalException const& e) {
        EXPECT_EQ(e.levels.size(), 1u);
        EXPECT_EQ(e.levels[0].signature, 0x74687265u);
        EXPECT_EQ(e.levels[0].category, 4);
        EXPECT_EQ(e.levels[0].osError, 0);
        EXPECT_EQ(e.levels[0].text, "");
        return e.levels[0].context;
    }
    return 0;
}

constexpr long long kLong = 60LL * 1000 * 1000;  // never reached by a test that passes

}  // namespace

TEST(CSemaphore, StartsWithNothing)
{
    CSemaphore semaphore;
    EXPECT_EQ(semaphore.GetState(), 0);
    EXPECT_FALSE(semaphore.Immediate());
    EXPECT_FALSE(semaphore.TimedWait(0));
    EXPECT_EQ(semaphore.GetState(), 0);
}

TEST(CSemaphore, UnitsAreTakenWithoutBlocking)
{
    CSemaphore semaphore;
    for (int i = 0; i < 4; ++i)
        semaphore.Post();
    EXPECT_EQ(semaphore.GetState(), 4);
    semaphore.Wait();
    EXPECT_EQ(semaphore.GetState(), 3);
    EXPECT_TRUE(semaphore.TimedWait(0));
    EXPECT_EQ(semaphore.GetState(), 2);
    EXPECT_TRUE(semaphore.Immediate());
    EXPECT_EQ(semaphore.GetState(), 1);
    CMutex held;
    held.Lock();
    semaphore.Wait(held);
    EXPECT_FALSE(held.TryLock());
    held.Unlock();
    EXPECT_EQ(semaphore.GetState(), 0);
}

TEST(CSemaphore, APostReleasesOneOfTwoWaiters)
{
    CSemaphore semaphore;
    std::atomic<int> released{0};
    auto const work = [&] {
        semaphore.Wait();
        ++released;
    };
    std::thread first(work);
    std::thread second(work);
    AwaitState(semaphore, -2);
    semaphore.Post();
    EXPECT_EQ(semaphore.GetState(), -1);
    while (released == 0)
        std::this_thread::yield();
    EXPECT_EQ(released, 1);
    semaphore.Post();
    first.join();
    second.join();
    EXPECT_EQ(released, 2);
    EXPECT_EQ(semaphore.GetState(), 0);
}

TEST(CSemaphore, WhoDoesNotStayLeavesTheCountOfThoseWhoWait)
{
    CSemaphore semaphore;
    std::thread waiter([&] { semaphore.Wait(); });
    AwaitState(semaphore, -1);
    EXPECT_FALSE(semaphore.Immediate());
    EXPECT_EQ(semaphore.GetState(), -1);
    EXPECT_FALSE(semaphore.TimedWait(1));
    EXPECT_EQ(semaphore.GetState(), -1);
    semaphore.Unabort();
    EXPECT_EQ(semaphore.GetState(), -1);
    semaphore.Post();
    waiter.join();
    EXPECT_EQ(semaphore.GetState(), 0);
}

TEST(CSemaphore, ATimedWaitIsReleasedByAPost)
{
    CSemaphore semaphore;
    bool isTaken = false;
    std::thread waiter([&] { isTaken = semaphore.TimedWait(kLong); });
    AwaitState(semaphore, -1);
    semaphore.Post();
    waiter.join();
    EXPECT_TRUE(isTaken);
    EXPECT_EQ(semaphore.GetState(), 0);
}

TEST(CSemaphore, ADeadlineLeavesTheCountWhereItWas)
{
    CSemaphore semaphore;
    EXPECT_FALSE(semaphore.TimedWait(1));
    EXPECT_FALSE(semaphore.TimedWait(-5));
    EXPECT_EQ(semaphore.GetState(), 0);
}

TEST(CSemaphore, AbortThrowsOutAllWaiters)
{
    CSemaphore semaphore;
    int contexts[3] = {};
    std::vector<std::thread> waiters;
    waiters.emplace_back([&] { contexts[0] = AbortContext([&] { semaphore.Wait(); }); });
    waiters.emplace_back([&] { contexts[1] = AbortContext([&] { semaphore.Wait(); }); });
    waiters.emplace_back([&] { contexts[2] = AbortContext([&] { semaphore.TimedWait(kLong); }); });
    AwaitState(semaphore, -3);
    semaphore.Abort();
    for (std::thread& waiter : waiters)
        waiter.join();
    for (int const context : contexts)
        EXPECT_EQ(context, 13);
    EXPECT_EQ(semaphore.GetState(), 0);
}

TEST(CSemaphore, RefusesWhileAborted)
{
    CSemaphore semaphore;
    semaphore.Abort();
    EXPECT_EQ(AbortContext([&] { semaphore.Post(); }), 14);
    EXPECT_EQ(AbortContext([&] { semaphore.Wait(); }), 13);
    EXPECT_EQ(AbortContext([&] { semaphore.TimedWait(0); }), 13);
    CMutex held;
    held.Lock();
    EXPECT_EQ(AbortContext([&] { semaphore.Wait(held); }), 13);
    EXPECT_FALSE(held.TryLock());
    EXPECT_EQ(AbortContext([&] { semaphore.TimedWait(held, 0); }), 13);
    EXPECT_FALSE(held.TryLock());
    held.Unlock();
    EXPECT_EQ(semaphore.GetState(), 0);
    EXPECT_FALSE(semaphore.Immediate());
    semaphore.Abort();
    EXPECT_EQ(semaphore.GetState(), 0);
}

TEST(CSemaphore, AbortDropsUnitsThatNobodyTook)
{
    CSemaphore semaphore;
    for (int i = 0; i < 3; ++i)
        semaphore.Post();
    EXPECT_EQ(semaphore.GetState(), 3);
    semaphore.Abort();
    EXPECT_EQ(semaphore.GetState(), 0);
    semaphore.Unabort();
    EXPECT_FALSE(semaphore.Immediate());
}

TEST(CSemaphore, WorksAgainAfterUnabort)
{
    CSemaphore semaphore;
    semaphore.Post();
    semaphore.Unabort();
    EXPECT_EQ(semaphore.GetState(), 1);
    semaphore.Abort();
    semaphore.Unabort();
    semaphore.Post();
    EXPECT_EQ(semaphore.GetState(), 1);
    semaphore.Wait();
    EXPECT_EQ(semaphore.GetState(), 0);
}

TEST(CSemaphore, GivesUpTheHeldMutexOnlyWhileItBlocks)
{
    CSemaphore semaphore;
    CMutex held;
    std::atomic<bool> isHeldAfterwards{false};
    std::thread waiter([&] {
        held.Lock();
        semaphore.Wait(held);
        isHeldAfterwards = !held.TryLock();
        held.Unlock();
    });
    AwaitState(semaphore, -1);
    held.Lock();  // comes back only because the waiter has given it up
    held.Unlock();
    semaphore.Post();
    waiter.join();
    EXPECT_TRUE(isHeldAfterwards);
}

TEST(CSemaphore, HoldsTheHeldMutexAgainWhenAborted)
{
    CSemaphore semaphore;
    CMutex held;
    int context = 0;
    bool isHeldAfterwards = false;
    std::thread waiter([&] {
        held.Lock();
        context = AbortContext([&] { semaphore.TimedWait(held, kLong); });
        isHeldAfterwards = !held.TryLock();
        held.Unlock();
    });
    AwaitState(semaphore, -1);
    semaphore.Abort();
    waiter.join();
    EXPECT_EQ(context, 13);
    EXPECT_TRUE(isHeldAfterwards);
}

TEST(CSemaphore, WaitsWithARecursiveMutexOfTheCallersThatGuardsItToo)
{
    CMutex monitor(true);
    CSemaphore semaphore(monitor);
    std::thread waiter([&] {
        monitor.Lock();
        monitor.Lock();
        semaphore.Wait(monitor);
        // Held twice again: free only after the second unlock.
        monitor.Unlock();
        std::thread([&] { EXPECT_FALSE(monitor.TryLock()); }).join();
        monitor.Unlock();
    });
    AwaitState(semaphore, -1);
    semaphore.Post();
    waiter.join();
    EXPECT_TRUE(monitor.TryLock());
    monitor.Unlock();
}

TEST(CSemaphore, AnExternalMutexGuardsTheState)
{
    CMutex monitor(true);
    CSemaphore semaphore;
    semaphore.SetExternalMutex(monitor);
    monitor.Lock();
    std::atomic<bool> isPosted{false};
    std::thread poster([&] {
        semaphore.Post();
        isPosted = true;
    });
    EXPECT_EQ(semaphore.GetState(), 0);
    EXPECT_FALSE(isPosted);
    monitor.Unlock();
    poster.join();
    EXPECT_EQ(semaphore.GetState(), 1);
}

// Each waiter holds the mutex when it enters, wants it back when it leaves, and the posters hold it
// too.
TEST(CSemaphore, SharesOneHeldMutexBetweenWaitersAndPosters)
{
    constexpr int kRounds = 2000;
    CMutex held;
    CSemaphore semaphore;
    int inside = 0;
    auto const wait = [&] {
        for (int i = 0; i < kRounds; ++i) {
            StMutexLocker const lock(held);
            semaphore.Wait(held);
            ++inside;
        }
    };
    auto const post = [&] {
        for (int i = 0; i < kRounds; ++i) {
            StMutexLocker const lock(held);
            semaphore.Post();
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back(wait);
        threads.emplace_back(post);
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(inside, 3 * kRounds);
    EXPECT_EQ(semaphore.GetState(), 0);
}
