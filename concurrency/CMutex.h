// A lock that can be asked to be recursive.
//
// Recursion is counted in the public object, in front of a plain lock, which is what lets a
// `CCondition` give up a lock of any depth. `StMutexLocker` holds a lock for a scope. A failure of
// the system throws `HierarchicalException` of `kThreadDomain`; the operation is told at each
// member.
#pragma once

#include "foundation/LoamExport.h"

#include <atomic>

class CBasicMutexImp;

/// Shared between threads; it must outlive every use. No virtual operations.
class LOAM_EXPORT CMutex
{
public:
    /// A free lock that is not recursive. Fails as `kMutexInitOrDestroy`.
    CMutex();
    /// A free lock, recursive if asked. Fails as `kMutexInitOrDestroy`.
    explicit CMutex(bool recursive);
    CMutex(CMutex const&) = delete;
    CMutex& operator=(CMutex const&) = delete;
    /// Nobody may hold the lock: a failure to destroy it ends the process.
    ~CMutex();

    /// Blocks until the calling thread holds the lock. If it does so already, a recursive lock is
    /// held once more and one that is not recursive blocks for ever. Fails as `kMutexLock`.
    void Lock();
    /// True if the calling thread holds the lock now, where recursive once more than before; false,
    /// with nothing changed, if it is held by another thread or is held and not recursive. Does not
    /// block. Fails as `kMutexLock`.
    bool TryLock();
    /// Takes back one `Lock` or successful `TryLock` of the calling thread. Each of them needs one.
    /// One too many is not detected: it spoils the count of a recursive lock for good. Fails as
    /// `kMutexUnlock`.
    void Unlock();

private:
    friend class CConditionImp;  // gives the lock up for a wait, with its count

    bool LockAgain(unsigned long thread);
    void SetHeldBy(unsigned long thread);

    CBasicMutexImp* mImp;  // owned
    bool mRecursive = false;
    // Written by the holder only; others merely compare. Relaxed: the lock itself orders what it
    // guards.
    std::atomic<int> mLockCount{0};
    std::atomic<unsigned long> mOwner{0};  // the holder's pthread_self, 0 when free
};
