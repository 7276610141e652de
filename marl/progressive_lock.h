// A guard on a shared mutex that starts with shared access and can be raised to exclusive access.
#pragma once

#include <shared_mutex>

#include "marl/MarlExport.h"

/// Holds `mutex` from construction to destruction. The mutex belongs to the caller and must outlive
/// the guard. The guard itself serves one thread.
class MARL_EXPORT progressive_lock
{
public:
    enum strength : int
    {
        shared = 1,
        exclusive = 2
    };

    /// Locks at once, blocking as long as it takes. Any other value than `exclusive` acts as
    /// `shared`.
    progressive_lock(std::shared_mutex* mutex, strength mode);
    progressive_lock(progressive_lock const&) = delete;
    progressive_lock& operator=(progressive_lock const&) = delete;
    /// Gives back whichever hold there is.
    ~progressive_lock();

    /// Raises a shared hold to an exclusive one; with an exclusive hold it does nothing. Not
    /// atomic: others may hold the mutex in between, so whatever was looked up before must be
    /// looked up again.
    void lock_exclusive();

private:
    std::shared_mutex* mMutex;  // not owned
    bool mHeld = false;
    bool mExclusive = false;
};
