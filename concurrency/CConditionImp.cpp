#include "concurrency/CConditionImp.h"

#include "concurrency/CMutex.h"
#include "concurrency/CMutexImp.h"
#include "concurrency/CThreadImp.h"
#include "foundation/FailureDomains.h"

#include <algorithm>
#include <cerrno>
#include <limits>

// Makes a mutex look free while its holder waits, and puts the holder and the depth back. The owner
// stays as it is: the count alone keeps others from taking the lock to be theirs. A guard, because
// a thread that is cancelled in its wait unwinds with the mutex held.
class CConditionImp::StRecursionGivenUp
{
public:
    explicit StRecursionGivenUp(CMutex& mutex)
        : mMutex(mutex)
        , mLockCount(mutex.mLockCount.load(std::memory_order_relaxed))
        , mOwner(mutex.mOwner.load(std::memory_order_relaxed))
    {
        mMutex.mLockCount.store(0, std::memory_order_relaxed);
    }

    StRecursionGivenUp(StRecursionGivenUp const&) = delete;
    StRecursionGivenUp& operator=(StRecursionGivenUp const&) = delete;

    ~StRecursionGivenUp()
    {
        mMutex.mLockCount.store(mLockCount, std::memory_order_relaxed);
        mMutex.mOwner.store(mOwner, std::memory_order_relaxed);
    }

private:
    CMutex& mMutex;
    int mLockCount;
    unsigned long mOwner;
};

CConditionImp::CConditionImp()
{
    int const error = pthread_cond_init(&mCondition, nullptr);
    if (error != 0) CThreadImp::ThrowOSThreadException(error, kConditionInit);
}

CConditionImp::~CConditionImp()
{
    int const error = pthread_cond_destroy(&mCondition);
    // Can't leave a destructor, and isn't meant to: it ends the process.
    if (error != 0) CThreadImp::ThrowOSThreadException(error, kConditionDestroy);
}

void CConditionImp::Signal()
{
    int const error = pthread_cond_signal(&mCondition);
    if (error != 0) CThreadImp::ThrowOSThreadException(error, kConditionSignal);
}

void CConditionImp::Wait(CMutex& mutex)
{
    pthread_mutex_t* const posixMutex = POSIXMutexOf(mutex);
    int error = 0;
    {
        StRecursionGivenUp const givenUp(mutex);
        error = pthread_cond_wait(&mCondition, posixMutex);
    }
    if (error != 0) CThreadImp::ThrowOSThreadException(error, kConditionWait);
}

bool CConditionImp::TimedWait(CMutex& mutex, long long microseconds)
{
    pthread_mutex_t* const posixMutex = POSIXMutexOf(mutex);
    timeval now{};
    gettimeofday(&now, nullptr);
    timespec const deadline = DeadlineAfter(now, microseconds);
    int error = 0;
    {
        StRecursionGivenUp const givenUp(mutex);
        error = pthread_cond_timedwait(&mCondition, posixMutex, &deadline);
    }
    if (error != 0 && error != ETIMEDOUT) CThreadImp::ThrowOSThreadException(error, kConditionWait);
    return error == 0;
}

timespec CConditionImp::DeadlineAfter(timeval const& now, long long microseconds)
{
    constexpr long long kMicrosecondsASecond = 1000000;
    long long const clock = now.tv_sec * kMicrosecondsASecond + now.tv_usec;
    long long const longest = std::numeric_limits<long long>::max() - clock;
    long long const total = std::max(clock + std::min(microseconds, longest), 0LL);

    timespec deadline{};
    deadline.tv_sec = static_cast<time_t>(total / kMicrosecondsASecond);
    deadline.tv_nsec = static_cast<long>(total % kMicrosecondsASecond * 1000);
    return deadline;
}

pthread_mutex_t* CConditionImp::POSIXMutexOf(CMutex& mutex)
{
    return &dynamic_cast<CMutexImp&>(*mutex.mImp).mMutex;
}
