// What mutexes and conditions make of the system's refusals, and what they ask of it.
#include "concurrency/CCondition.h"
#include "concurrency/CMutex.h"
#include "concurrency/StMutexLocker.h"
#include "testing/FailureOf.h"
#include "testing/OtherThread.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <functional>

#include <pthread.h>
#include <sys/time.h>

namespace {

// The next call of one function, on this thread, answers an error instead.
class StRefusal
{
public:
    StRefusal(char const* function, int error)
        : mFunction(function)
        , mError(error)
    {
        sCurrent = this;
    }

    StRefusal(StRefusal const&) = delete;
    StRefusal& operator=(StRefusal const&) = delete;

    ~StRefusal() { sCurrent = nullptr; }

    static bool Takes(char const* function, int& error)
    {
        if (sCurrent == nullptr || std::strcmp(sCurrent->mFunction, function) != 0) return false;
        error = sCurrent->mError;
        sCurrent = nullptr;
        return true;
    }

private:
    char const* mFunction;
    int mError;
    static thread_local StRefusal* sCurrent;
};

thread_local StRefusal* StRefusal::sCurrent = nullptr;

// What the clock shows to conditions, and the deadline that they asked for.
bool sIsClockSet = false;
timeval sClock{};
timespec sDeadline{};

constexpr int kSomeError = EOWNERDEAD;

}  // namespace

#define LOAM_WRAP(name, parameters, arguments)                                                     \
    int __real_##name parameters;                                                                  \
    int __wrap_##name parameters;                                                                  \
    int __wrap_##name parameters                                                                   \
    {                                                                                              \
        int error = 0;                                                                             \
        return StRefusal::Takes(#name, error) ? error : __real_##name arguments;                   \
    }

extern "C" {
LOAM_WRAP(pthread_mutex_init,
          (pthread_mutex_t * mutex, pthread_mutexattr_t const* attributes),
          (mutex, attributes))
LOAM_WRAP(pthread_mutex_destroy, (pthread_mutex_t * mutex), (mutex))
LOAM_WRAP(pthread_mutex_lock, (pthread_mutex_t * mutex), (mutex))
LOAM_WRAP(pthread_mutex_trylock, (pthread_mutex_t * mutex), (mutex))
LOAM_WRAP(pthread_mutex_unlock, (pthread_mutex_t * mutex), (mutex))
LOAM_WRAP(pthread_cond_init,
          (pthread_cond_t * condition, pthread_condattr_t const* attributes),
          (condition, attributes))
LOAM_WRAP(pthread_cond_destroy, (pthread_cond_t * condition), (condition))
LOAM_WRAP(pthread_cond_signal, (pthread_cond_t * condition), (condition))
LOAM_WRAP(pthread_cond_wait,
          (pthread_cond_t * condition, pthread_mutex_t* mutex),
          (condition, mutex))

int __real_pthread_cond_timedwait(pthread_cond_t*, pthread_mutex_t*, timespec const*);
int __wrap_pthread_cond_timedwait(pthread_cond_t*, pthread_mutex_t*, timespec const*);

int __wrap_pthread_cond_timedwait(pthread_cond_t* condition,
                                  pthread_mutex_t* mutex,
                                  timespec const* deadline)
{
    sDeadline = *deadline;
    int error = 0;
    if (StRefusal::Takes("pthread_cond_timedwait", error)) return error;
    return __real_pthread_cond_timedwait(condition, mutex, deadline);
}

int __real_gettimeofday(timeval*, void*);
int __wrap_gettimeofday(timeval*, void*);

int __wrap_gettimeofday(timeval* now, void* zone)
{
    if (!sIsClockSet) return __real_gettimeofday(now, zone);
    *now = sClock;
    return 0;
}
}

TEST(CMutexFailures, TellTheOperation)
{
    CMutex freeMutex;
    CMutex heldMutex;
    heldMutex.Lock();
    CCondition condition;

    struct Case
    {
        char const* mFunction;
        int mError;
        std::function<void()> mAction;
        int mCategory;
        int mOperation;
    };

    Case const cases[] = {
        {"pthread_mutex_init", kSomeError, [] { CMutex const mutex; }, kOtherFailure,
         kMutexInitOrDestroy},
        {"pthread_mutex_init", ENOMEM, [] { CMutex const mutex(true); }, kThreadNoMemory,
         kMutexInitOrDestroy},
        {"pthread_mutex_lock", EDEADLK, [&] { freeMutex.Lock(); }, kOtherFailure, kMutexLock},
        {"pthread_mutex_trylock", EAGAIN, [&] { freeMutex.TryLock(); }, kOtherFailure, kMutexLock},
        {"pthread_mutex_unlock", EPERM, [&] { heldMutex.Unlock(); }, kOtherFailure, kMutexUnlock},
        {"pthread_cond_init", EAGAIN, [] { CCondition const made; }, kOtherFailure, kConditionInit},
        {"pthread_cond_init", ENOMEM, [] { CCondition const made; }, kThreadNoMemory,
         kConditionInit},
        {"pthread_cond_signal", EINVAL, [&] { condition.Signal(); }, kOtherFailure,
         kConditionSignal},
        {"pthread_cond_wait", EINVAL, [&] { condition.Wait(heldMutex); }, kOtherFailure,
         kConditionWait},
        {"pthread_cond_timedwait", ENOMEM, [&] { condition.TimedWait(heldMutex, 0); },
         kThreadNoMemory, kConditionWait},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.mFunction);
        Failure const expected{kThreadDomain, c.mCategory, c.mOperation, c.mError};
        StRefusal const refusal(c.mFunction, c.mError);
        EXPECT_EQ(FailureOf(c.mAction), expected);
    }
    // The refused one left the lock itself held.
    heldMutex.Unlock();
    EXPECT_TRUE(IsFreeForOthers(heldMutex));
}

TEST(CMutexFailures, TryLockTakesBusyForNo)
{
    CMutex mutex;
    StRefusal const refusal("pthread_mutex_trylock", EBUSY);
    EXPECT_FALSE(mutex.TryLock());
}

TEST(CMutexFailures, RefusedWaitPutsTheDepthBack)
{
    for (char const* const function : {"pthread_cond_wait", "pthread_cond_timedwait"}) {
        SCOPED_TRACE(function);
        CMutex mutex(true);
        CCondition condition;
        mutex.Lock();
        mutex.Lock();
        StRefusal const refusal(function, EINVAL);
        EXPECT_NE(FailureOf([&] {
                      if (std::strcmp(function, "pthread_cond_wait") == 0) condition.Wait(mutex);
                      condition.TimedWait(mutex, 0);
                  }),
                  Failure());
        mutex.Unlock();
        EXPECT_FALSE(IsFreeForOthers(mutex));
        mutex.Unlock();
        EXPECT_TRUE(IsFreeForOthers(mutex));
    }
}

TEST(CMutexFailures, RefusedLockLeavesTheGuardWithItsOldMutex)
{
    CMutex first;
    CMutex second;
    {
        StMutexLocker lock(first);
        StRefusal const refusal("pthread_mutex_lock", EINVAL);
        EXPECT_EQ(FailureOf([&] { lock.ChangeMutex(&second); }),
                  (Failure{kThreadDomain, kOtherFailure, kMutexLock, EINVAL}));
        EXPECT_FALSE(IsFreeForOthers(first));
    }
    EXPECT_TRUE(IsFreeForOthers(first));
    EXPECT_TRUE(IsFreeForOthers(second));
}

TEST(CMutexFailures, TimedWaitReckonsFromTheWallClock)
{
    CMutex mutex;
    CCondition condition;
    StMutexLocker const lock(mutex);
    sClock = {1000, 800000};
    sIsClockSet = true;
    condition.TimedWait(mutex, 1500000);
    sIsClockSet = false;
    EXPECT_EQ(sDeadline.tv_sec, 1002);
    EXPECT_EQ(sDeadline.tv_nsec, 300000000);
}

TEST(CMutexFailures, TimedWaitReportsWakingForNoReasonAsTrue)
{
    CMutex mutex;
    CCondition condition;
    StMutexLocker const lock(mutex);
    StRefusal const refusal("pthread_cond_timedwait", 0);
    EXPECT_TRUE(condition.TimedWait(mutex, 0));
}

// The process ends by way of the terminate handler, which sees the exception.
TEST(CMutexFailuresDeathTest, EndTheProcessInADestructor)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");

    struct Case
    {
        char const* mFunction;
        std::function<void()> mAction;
        char const* mSeen;
    };

    Case const cases[] = {
        {"pthread_mutex_destroy", [] { CMutex const mutex; }, "operation 5, error 16"},
        {"pthread_cond_destroy", [] { CCondition const condition; }, "operation 10, error 16"},
    };
    static_assert(EBUSY == 16 && kMutexInitOrDestroy == 5 && kConditionDestroy == 10);
    for (Case const& c : cases) {
        SCOPED_TRACE(c.mFunction);
        auto const endInADestructor = [&] {
            std::set_terminate([] {
                Failure const failure =
                    FailureOf([] { std::rethrow_exception(std::current_exception()); });
                std::fprintf(stderr, "operation %d, error %d\n", failure.mContext,
                             failure.mOSError);
                std::_Exit(1);
            });
            StRefusal const refusal(c.mFunction, EBUSY);
            c.mAction();
        };
        EXPECT_DEATH(endInADestructor(), c.mSeen);
    }
}
