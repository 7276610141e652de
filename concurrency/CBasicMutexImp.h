// What a lock without recursion does.
#pragma once

#include "foundation/LoamExport.h"

class LOAM_EXPORT CBasicMutexImp
{
public:
    CBasicMutexImp() = default;
    CBasicMutexImp(CBasicMutexImp const&) = delete;
    CBasicMutexImp& operator=(CBasicMutexImp const&) = delete;

    // Virtual operations keep their order for ever; new ones go last.

    /// Ends the process if the lock is held.
    virtual ~CBasicMutexImp() = default;
    /// Blocks until the lock is free, for ever if the calling thread holds it.
    virtual void Lock() = 0;
    /// Takes the lock if it is free; false at once if anybody holds it, the calling thread too.
    virtual bool TryLock() = 0;
    /// Gives back a lock that the calling thread holds.
    virtual void Unlock() = 0;
};
