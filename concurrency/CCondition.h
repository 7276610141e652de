// A condition that can wait on a lock of any depth.
//
// A failure of the system throws `HierarchicalException` of `kThreadDomain`; the operation is told
// at each member.
#pragma once

#include "concurrency/CBasicConditionImp.h"
#include "concurrency/CMutex.h"
#include "foundation/LoamExport.h"

/// Shared between threads; it must outlive every use. A wait may end without a signal, so callers
/// wait in a loop that tests what they wait for. No virtual operations.
class LOAM_EXPORT CCondition
{
public:
    /// Fails as `kConditionInit`.
    CCondition();
    CCondition(CCondition const&) = delete;
    CCondition& operator=(CCondition const&) = delete;
    /// Nobody may be waiting: a failure to destroy it ends the process.
    ~CCondition();

    /// Wakes one of the threads that wait, if any. The caller need not hold the mutex. Fails as
    /// `kConditionSignal`.
    void Signal() { mImp->Signal(); }

    /// Gives up `mutex`, which the caller holds at whatever depth, blocks until it is woken and
    /// holds `mutex` again at that depth when it comes back, also by an exception. All who wait at
    /// a time use one mutex. Fails as `kConditionWait`.
    void Wait(CMutex& mutex);
    /// The same for at most `microseconds` by the wall clock, so setting the clock moves the
    /// deadline; 0 and less don't wait. True if it was woken, for whatever reason, false if the
    /// time ran out.
    bool TimedWait(CMutex& mutex, long long microseconds);

private:
    CBasicConditionImp* mImp;  // owned
};
