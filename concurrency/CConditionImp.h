// A POSIX condition of default attributes.
#pragma once

#include "concurrency/CBasicConditionImp.h"

#include <pthread.h>
#include <sys/time.h>

/// Waits only on a `CMutex` whose implementation is a `CMutexImp`; another one gives
/// `std::bad_cast`.
class CConditionImp final : public CBasicConditionImp
{
public:
    CConditionImp();
    ~CConditionImp() override;
    void Signal() override;
    void Wait(CMutex& mutex) override;
    bool TimedWait(CMutex& mutex, long long microseconds) override;

    /// The point in time `microseconds` after `now`, which is not before 1970. What lies before
    /// 1970 or beyond the range of `long long` microseconds becomes the nearest point within.
    static timespec DeadlineAfter(timeval const& now, long long microseconds);

private:
    class StRecursionGivenUp;

    static pthread_mutex_t* POSIXMutexOf(CMutex& mutex);

    pthread_cond_t mCondition;
};
