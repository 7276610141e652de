#include "concurrency/StMutexLocker.h"

#include "concurrency/StMutexUnlocker.h"
#include "testing/OtherThread.h"

#include <gtest/gtest.h>

TEST(StMutexLocker, HoldsTheMutexForItsScope)
{
    CMutex mutex;
    {
        StMutexLocker const lock(mutex);
        EXPECT_FALSE(IsFreeForOthers(mutex));
    }
    EXPECT_TRUE(IsFreeForOthers(mutex));
    {
        StMutexLocker const lock(&mutex);
        EXPECT_FALSE(IsFreeForOthers(mutex));
    }
    EXPECT_TRUE(IsFreeForOthers(mutex));
}

TEST(StMutexLocker, DoesNothingWithoutMutex)
{
    StMutexLocker lock(nullptr);
    lock.ChangeMutex(nullptr);
}

TEST(StMutexLocker, MovesToAnotherMutex)
{
    CMutex first;
    CMutex second;
    {
        StMutexLocker lock(first);
        lock.ChangeMutex(&second);
        EXPECT_TRUE(IsFreeForOthers(first));
        EXPECT_FALSE(IsFreeForOthers(second));
    }
    EXPECT_TRUE(IsFreeForOthers(first));
    EXPECT_TRUE(IsFreeForOthers(second));
}

TEST(StMutexLocker, MovesFromNoMutexToOneAndBack)
{
    CMutex mutex;
    {
        StMutexLocker lock(nullptr);
        lock.ChangeMutex(&mutex);
        EXPECT_FALSE(IsFreeForOthers(mutex));
        lock.ChangeMutex(nullptr);
        EXPECT_TRUE(IsFreeForOthers(mutex));
    }
    EXPECT_TRUE(IsFreeForOthers(mutex));
}

TEST(StMutexLocker, MovesToTheMutexItHoldsWhereRecursive)
{
    CMutex mutex(true);
    {
        StMutexLocker lock(mutex);
        lock.ChangeMutex(&mutex);
        EXPECT_FALSE(IsFreeForOthers(mutex));
    }
    EXPECT_TRUE(IsFreeForOthers(mutex));
}

TEST(StMutexLocker, TouchesNoMutexWhileNotActive)
{
    CMutex first;
    CMutex second;
    second.Lock();
    {
        StMutexLocker lock(&first, false);
        EXPECT_TRUE(IsFreeForOthers(first));
        lock.ChangeMutex(&second);
        lock.ChangeMutex(&first);
        lock.ChangeMutex(&second);
        EXPECT_TRUE(IsFreeForOthers(first));
    }
    EXPECT_FALSE(IsFreeForOthers(second));
    second.Unlock();
}

TEST(StMutexUnlocker, GivesUpTheMutexForItsScope)
{
    CMutex mutex;
    StMutexLocker const lock(mutex);
    {
        StMutexUnlocker const unlock(mutex);
        EXPECT_TRUE(IsFreeForOthers(mutex));
    }
    EXPECT_FALSE(IsFreeForOthers(mutex));
    {
        StMutexUnlocker const unlock(&mutex);
        EXPECT_TRUE(IsFreeForOthers(mutex));
    }
    EXPECT_FALSE(IsFreeForOthers(mutex));
}

TEST(StMutexUnlocker, GivesUpOneLevelOnly)
{
    CMutex mutex(true);
    StMutexLocker const outer(mutex);
    StMutexLocker const inner(mutex);
    StMutexUnlocker const unlock(mutex);
    EXPECT_FALSE(IsFreeForOthers(mutex));
}

TEST(StMutexUnlocker, DoesNothingWithoutMutex)
{
    StMutexUnlocker unlock(nullptr);
    unlock.ChangeMutex(nullptr);
}

TEST(StMutexUnlocker, MovesToAnotherMutex)
{
    CMutex first;
    CMutex second;
    StMutexLocker const firstLock(first);
    {
        StMutexUnlocker unlock(first);
        second.Lock();
        unlock.ChangeMutex(&second);
        EXPECT_FALSE(IsFreeForOthers(first));
        EXPECT_TRUE(IsFreeForOthers(second));
        unlock.ChangeMutex(nullptr);
        EXPECT_FALSE(IsFreeForOthers(second));
        unlock.ChangeMutex(&second);
        EXPECT_TRUE(IsFreeForOthers(second));
    }
    EXPECT_FALSE(IsFreeForOthers(first));
    EXPECT_FALSE(IsFreeForOthers(second));
    second.Unlock();
}

TEST(StMutexUnlocker, TouchesNoMutexWhileNotActive)
{
    CMutex first;
    CMutex second;
    StMutexLocker const lock(first);
    {
        StMutexUnlocker unlock(&first, false);
        EXPECT_FALSE(IsFreeForOthers(first));
        unlock.ChangeMutex(&second);
        unlock.ChangeMutex(&first);
        unlock.ChangeMutex(&second);
        EXPECT_TRUE(IsFreeForOthers(second));
    }
    EXPECT_FALSE(IsFreeForOthers(first));
    EXPECT_TRUE(IsFreeForOthers(second));
}
