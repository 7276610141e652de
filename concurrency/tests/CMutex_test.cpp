#include "concurrency/CMutex.h"

#include "testing/OtherThread.h"

#include <gtest/gtest.h>

#include <thread>
#include <type_traits>
#include <vector>

static_assert(!std::is_polymorphic_v<CMutex>);
static_assert(!std::is_copy_constructible_v<CMutex>);

TEST(CMutex, IsHeldBetweenLockAndUnlock)
{
    for (bool const isRecursive : {false, true}) {
        CMutex mutex(isRecursive);
        EXPECT_TRUE(IsFreeForOthers(mutex));
        mutex.Lock();
        EXPECT_FALSE(IsFreeForOthers(mutex));
        mutex.Unlock();
        EXPECT_TRUE(IsFreeForOthers(mutex));
    }
}

TEST(CMutex, IsHeldUntilTheLastUnlockWhereRecursive)
{
    CMutex mutex(true);
    for (int i = 0; i < 3; ++i)
        mutex.Lock();
    for (int i = 0; i < 3; ++i) {
        EXPECT_FALSE(IsFreeForOthers(mutex)) << i << " unlocked";
        mutex.Unlock();
    }
    EXPECT_TRUE(IsFreeForOthers(mutex));
}

TEST(CMutex, TryLockOfTheHolderGoesDeeperWhereRecursive)
{
    CMutex mutex(true);
    EXPECT_TRUE(mutex.TryLock());
    EXPECT_TRUE(mutex.TryLock());
    mutex.Lock();
    mutex.Unlock();
    mutex.Unlock();
    EXPECT_FALSE(IsFreeForOthers(mutex));
    mutex.Unlock();
    EXPECT_TRUE(IsFreeForOthers(mutex));
}

TEST(CMutex, TryLockOfTheHolderIsFalseWhereNotRecursive)
{
    CMutex mutex;
    EXPECT_TRUE(mutex.TryLock());
    EXPECT_FALSE(mutex.TryLock());
    mutex.Unlock();
    EXPECT_TRUE(IsFreeForOthers(mutex));
}

TEST(CMutex, RefusesOthersWithoutTouchingTheHoldersDepth)
{
    CMutex mutex(true);
    mutex.Lock();
    mutex.Lock();
    EXPECT_FALSE(IsFreeForOthers(mutex));
    mutex.Unlock();
    EXPECT_FALSE(IsFreeForOthers(mutex));
    mutex.Unlock();
    EXPECT_TRUE(IsFreeForOthers(mutex));
}

TEST(CMutex, KeepsSilentAboutOneUnlockTooMany)
{
    // Never destroyed: it can't be freed again.
    static auto* const sMutex = new CMutex(true);
    sMutex->Unlock();
    EXPECT_TRUE(sMutex->TryLock());
    sMutex->Unlock();
    EXPECT_FALSE(IsFreeForOthers(*sMutex));
}

TEST(CMutex, LetsOneThreadInAtATime)
{
    constexpr int kThreads = 4;
    constexpr int kRounds = 2000;
    for (bool const isRecursive : {false, true}) {
        CMutex mutex(isRecursive);
        long count = 0;
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i) {
            threads.emplace_back([&] {
                for (int round = 0; round < kRounds; ++round) {
                    mutex.Lock();
                    if (isRecursive) mutex.Lock();
                    ++count;
                    if (isRecursive) mutex.Unlock();
                    mutex.Unlock();
                }
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(count, kThreads * kRounds);
    }
}
