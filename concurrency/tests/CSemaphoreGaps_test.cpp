// The gaps of an abort and what else can't be had by asking, each by standing in for a call of the
// system.

#include "concurrency/CSemaphore.h"

#include <atomic>
#include <cerrno>
#include <functional>
#include <thread>

#include <gtest/gtest.h>
#include <pthread.h>

#include "foundation/FailureDomains.h"
#include "marl/HierarchicalException.h"
#include "testing/FailureOf.h"
#include "testing/OtherThread.h"

extern "C" {
int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
int __real_pthread_cond_signal(pthread_cond_t* condition);
int __real_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex);
int __real_pthread_cond_timedwait(pthread_cond_t* condition,
                                  pthread_mutex_t* mutex,
                                  timespec const* deadline);
}

namespace {

// What the calling thread does instead of, or before, the real call.
thread_local std::function<void()> sBeforeLock;
thread_local std::function<int()> sInsteadOfWait;
thread_local std::function<int()> sBeforeSignal;

constexpr long long kLong = 60LL * 1000 * 1000;  // never reached by a test that passes

// A wait that ends as `sInsteadOfWait` says. Others may get the mutex before this thread does.
int WaitAsTold(pthread_mutex_t* mutex)
{
    pthread_mutex_unlock(mutex);
    int const result = sInsteadOfWait();
    __real_pthread_mutex_lock(mutex);
    return result;
}

void AwaitState(CSemaphore& semaphore, int state)
{
    while (semaphore.GetState() != state)
        std::this_thread::yield();
}

Failure const kAbortedWait{kThreadDomain, kThreadAborted, kSemaphoreWait, 0};

}  // namespace

extern "C" {

int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex)
{
    if (sBeforeLock) sBeforeLock();
    return __real_pthread_mutex_lock(mutex);
}

int __wrap_pthread_cond_signal(pthread_cond_t* condition)
{
    int const error = sBeforeSignal ? sBeforeSignal() : 0;
    return error != 0 ? error : __real_pthread_cond_signal(condition);
}

int __wrap_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex)
{
    if (sInsteadOfWait) return WaitAsTold(mutex);
    return __real_pthread_cond_wait(condition, mutex);
}

int __wrap_pthread_cond_timedwait(pthread_cond_t* condition,
                                  pthread_mutex_t* mutex,
                                  timespec const* deadline)
{
    if (sInsteadOfWait) return WaitAsTold(mutex);
    return __real_pthread_cond_timedwait(condition, mutex, deadline);
}
}

TEST(CSemaphoreGaps, KeepsALateWaiterBlockedBehindAnAbort)
{
    for (bool const isAbortedAgain : {false, true}) {
        SCOPED_TRACE(isAbortedAgain ? "released by another abort" : "released by a post");
        CMutex monitor;
        CSemaphore semaphore(monitor);
        std::atomic<bool> hasPassedTheFlag{false};
        std::atomic<bool> isAborted{false};
        std::atomic<bool> isReleased{false};
        Failure failure;

        std::thread late([&] {
            CMutex held;
            held.Lock();
            sBeforeLock = [&] {
                sBeforeLock = nullptr;
                hasPassedTheFlag = true;
                while (!isAborted)
                    std::this_thread::yield();
            };
            failure = FailureOf([&] { semaphore.Wait(held); });
            held.Unlock();
            isReleased = true;
        });
        while (!hasPassedTheFlag)
            std::this_thread::yield();
        semaphore.Abort();
        EXPECT_EQ(semaphore.GetState(), 0);
        isAborted = true;

        AwaitState(semaphore, -1);
        EXPECT_THROW(semaphore.Post(), HierarchicalException);
        EXPECT_EQ(semaphore.GetState(), -1);
        EXPECT_FALSE(isReleased);

        if (isAbortedAgain) {
            semaphore.Abort();
        } else {
            semaphore.Unabort();
            EXPECT_EQ(semaphore.GetState(), -1);
            semaphore.Post();
        }
        late.join();
        EXPECT_EQ(failure, isAbortedAgain ? kAbortedWait : Failure());
        EXPECT_EQ(semaphore.GetState(), 0);
    }
}

TEST(CSemaphoreGaps, KeepsTheUnitThatATimedOutWaiterGivesBackAfterAnAbort)
{
    CSemaphore semaphore;
    sInsteadOfWait = [&] {
        semaphore.Abort();
        EXPECT_EQ(semaphore.GetState(), 0);
        return ETIMEDOUT;
    };
    Failure const failure = FailureOf([&] { semaphore.TimedWait(1); });
    sInsteadOfWait = nullptr;
    EXPECT_EQ(failure, kAbortedWait);
    EXPECT_EQ(semaphore.GetState(), 1);
    EXPECT_TRUE(semaphore.Immediate());
    EXPECT_EQ(semaphore.GetState(), 0);
}

// The waiter looks at the flag only when it has its mutex back.
TEST(CSemaphoreGaps, KeepsAWaiterThatAnUnabortOvertakes)
{
    CSemaphore semaphore;
    CMutex held;
    Failure failure = kAbortedWait;
    std::thread waiter([&] {
        held.Lock();
        failure = FailureOf([&] { semaphore.Wait(held); });
        held.Unlock();
    });
    AwaitState(semaphore, -1);
    held.Lock();
    semaphore.Abort();
    semaphore.Unabort();
    held.Unlock();
    waiter.join();
    EXPECT_EQ(failure, Failure());
    EXPECT_EQ(semaphore.GetState(), 0);
}

TEST(CSemaphoreGaps, KeepsAWakeForNoReasonForAUnit)
{
    CSemaphore semaphore;
    sInsteadOfWait = [] { return 0; };
    semaphore.Wait();
    EXPECT_EQ(semaphore.GetState(), -1);
    EXPECT_TRUE(semaphore.TimedWait(kLong));
    EXPECT_EQ(semaphore.GetState(), -2);
    sInsteadOfWait = nullptr;
}

TEST(CSemaphoreGaps, SignalsOnceForEachWaiterWithTheLockHeld)
{
    CMutex monitor;
    CSemaphore semaphore(monitor);
    int signals = 0;
    sBeforeSignal = [&] {
        ++signals;
        EXPECT_FALSE(IsFreeForOthers(monitor));
        return 0;
    };

    semaphore.Post();
    semaphore.Post();
    EXPECT_EQ(signals, 0);
    semaphore.Abort();
    semaphore.Abort();
    semaphore.Unabort();
    EXPECT_EQ(signals, 0);

    auto const wait = [&] { FailureOf([&] { semaphore.Wait(); }); };
    std::thread first(wait);
    AwaitState(semaphore, -1);
    semaphore.Post();
    EXPECT_EQ(signals, 1);
    first.join();

    std::thread second(wait);
    std::thread third(wait);
    AwaitState(semaphore, -2);
    semaphore.Abort();
    EXPECT_EQ(signals, 3);
    second.join();
    third.join();
    sBeforeSignal = nullptr;
}

TEST(CSemaphoreGaps, KeepsTheClaimOfAWaitThatFails)
{
    CMutex monitor;
    CMutex held;
    CSemaphore semaphore(monitor);
    held.Lock();

    sInsteadOfWait = [] { return EINVAL; };
    Failure const invalid{kThreadDomain, kOtherFailure, kConditionWait, EINVAL};
    EXPECT_EQ(FailureOf([&] { semaphore.Wait(held); }), invalid);
    EXPECT_EQ(semaphore.GetState(), -1);
    EXPECT_TRUE(IsFreeForOthers(monitor));
    EXPECT_FALSE(IsFreeForOthers(held));

    sInsteadOfWait = [] { return ENOMEM; };
    Failure const noMemory{kThreadDomain, kThreadNoMemory, kConditionWait, ENOMEM};
    EXPECT_EQ(FailureOf([&] { semaphore.TimedWait(held, kLong); }), noMemory);
    EXPECT_EQ(semaphore.GetState(), -2);
    EXPECT_TRUE(IsFreeForOthers(monitor));
    EXPECT_FALSE(IsFreeForOthers(held));
    sInsteadOfWait = nullptr;

    sBeforeSignal = [] { return EINVAL; };
    Failure const noSignal{kThreadDomain, kOtherFailure, kConditionSignal, EINVAL};
    EXPECT_EQ(FailureOf([&] { semaphore.Post(); }), noSignal);
    EXPECT_EQ(semaphore.GetState(), -1);
    EXPECT_TRUE(IsFreeForOthers(monitor));
    sBeforeSignal = nullptr;
    held.Unlock();
}
