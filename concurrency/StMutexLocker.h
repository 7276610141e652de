// Holds a mutex for a scope.
#pragma once

#include "concurrency/CMutex.h"
#include "foundation/LoamExport.h"

/// Locks in its constructor, unlocks in its destructor. Without a mutex, or not active, it does
/// nothing at all. The guard serves one thread.
class StMutexLocker
{
public:
    /// `mutex` may be null and is not owned.
    explicit StMutexLocker(CMutex* mutex, bool active = true)
        : mActive(active)
        , mMutex(mutex)
    {
        if (mActive && mMutex != nullptr) mMutex->Lock();
    }

    explicit StMutexLocker(CMutex& mutex)
        : StMutexLocker(&mutex)
    {
    }

    StMutexLocker(StMutexLocker const&) = delete;
    StMutexLocker& operator=(StMutexLocker const&) = delete;

    /// A failure to unlock ends the process.
    ~StMutexLocker()
    {
        if (mActive && mMutex != nullptr) mMutex->Unlock();
    }

    /// Moves the guard to `newMutex`, which may be null: locks it first and only then unlocks the
    /// old one, so that the guard is never without a lock in between. If the lock throws, the guard
    /// stays with the old mutex. Moving to the mutex that it holds blocks for ever unless that one
    /// is recursive.
    LOAM_EXPORT void ChangeMutex(CMutex* newMutex);

private:
    bool mActive;
    CMutex* mMutex;  // not owned, may be null
};
