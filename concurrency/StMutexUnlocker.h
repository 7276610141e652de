// Gives up a mutex for a scope.
#pragma once

#include "concurrency/CMutex.h"
#include "foundation/LoamExport.h"

/// Unlocks a mutex that the calling thread holds in its constructor, locks it again in its
/// destructor. Without a mutex, or not active, it does nothing at all. The guard serves one thread.
class StMutexUnlocker
{
public:
    /// `mutex` may be null and is not owned. A recursive mutex is given up by one level only.
    explicit StMutexUnlocker(CMutex* mutex, bool active = true)
        : mActive(active)
        , mMutex(mutex)
    {
        if (mActive && mMutex != nullptr) mMutex->Unlock();
    }

    explicit StMutexUnlocker(CMutex& mutex)
        : StMutexUnlocker(&mutex)
    {
    }

    StMutexUnlocker(StMutexUnlocker const&) = delete;
    StMutexUnlocker& operator=(StMutexUnlocker const&) = delete;

    /// Blocks until the mutex is free. A failure to lock ends the process.
    ~StMutexUnlocker()
    {
        if (mActive && mMutex != nullptr) mMutex->Lock();
    }

    /// Moves the guard to `newMutex`, which may be null and which the calling thread holds: unlocks
    /// it first and then locks the old one again. If the unlock throws, the guard stays with the
    /// old mutex.
    LOAM_EXPORT void ChangeMutex(CMutex* newMutex);

private:
    bool mActive;
    CMutex* mMutex;  // not owned, may be null
};
