// The two gaps of an abort, each held open by standing in for a call of the system.

#include "concurrency/CSemaphore.h"

#include <atomic>
#include <cerrno>
#include <functional>
#include <thread>

#include <gtest/gtest.h>
#include <pthread.h>

#include "foundation/FailureDomains.h"
#include "marl/HierarchicalException.h"

extern "C" {
int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
int __real_pthread_cond_timedwait(pthread_cond_t* condition,
                                  pthread_mutex_t* mutex,
                                  timespec const* deadline);
}

namespace {

// What the calling thread does instead of, or before, the real call.
thread_local std::function<void()> sBeforeLock;
thread_local std::function<void()> sAfterTimeOut;

}  // namespace

extern "C" {

int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex)
{
    if (sBeforeLock) sBeforeLock();
    return __real_pthread_mutex_lock(mutex);
}

// The time runs out, and others get the mutex before this thread does.
int __wrap_pthread_cond_timedwait(pthread_cond_t* condition,
                                  pthread_mutex_t* mutex,
                                  timespec const* deadline)
{
    if (!sAfterTimeOut) return __real_pthread_cond_timedwait(condition, mutex, deadline);
    pthread_mutex_unlock(mutex);
    sAfterTimeOut();
    __real_pthread_mutex_lock(mutex);
    return ETIMEDOUT;
}
}

TEST(CSemaphoreGaps, KeepsALateWaiterBlockedBehindAnAbort)
{
    CMutex monitor;
    CSemaphore semaphore(monitor);
    std::atomic<bool> hasPassedTheFlag{false};
    std::atomic<bool> isAborted{false};
    std::atomic<bool> isReleased{false};

    std::thread late([&] {
        CMutex held;
        held.Lock();
        sBeforeLock = [&] {
            sBeforeLock = nullptr;
            hasPassedTheFlag = true;
            while (!isAborted)
                std::this_thread::yield();
        };
        semaphore.Wait(held);
        held.Unlock();
        isReleased = true;
    });
    while (!hasPassedTheFlag)
        std::this_thread::yield();
    semaphore.Abort();
    EXPECT_EQ(semaphore.GetState(), 0);
    isAborted = true;

    while (semaphore.GetState() != -1)
        std::this_thread::yield();
    EXPECT_THROW(semaphore.Post(), HierarchicalException);
    EXPECT_EQ(semaphore.GetState(), -1);
    EXPECT_FALSE(isReleased);

    semaphore.Unabort();
    semaphore.Post();
    late.join();
    EXPECT_TRUE(isReleased);
    EXPECT_EQ(semaphore.GetState(), 0);
}

TEST(CSemaphoreGaps, KeepsTheUnitThatATimedOutWaiterGivesBackAfterAnAbort)
{
    CSemaphore semaphore;
    int context = 0;
    sAfterTimeOut = [&] {
        semaphore.Abort();
        EXPECT_EQ(semaphore.GetState(), 0);
    };
    try {
        semaphore.TimedWait(1);
    } catch (HierarchicalException const& e) {
        context = e.levels[0].context;
    }
    sAfterTimeOut = nullptr;
    EXPECT_EQ(context, kSemaphoreWait);
    EXPECT_EQ(semaphore.GetState(), 1);
    semaphore.Unabort();
    EXPECT_TRUE(semaphore.Immediate());
}
