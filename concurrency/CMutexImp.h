// The plain lock: a POSIX mutex of default attributes.
#pragma once

#include "concurrency/CBasicMutexImp.h"
#include "concurrency/CThreadImp.h"
#include "foundation/FailureDomains.h"

#include <cerrno>

#include <pthread.h>

class CMutexImp final : public CBasicMutexImp
{
public:
    CMutexImp();
    ~CMutexImp() override;

    // In the header, so that a caller who knows that it has this class pays for the call of the
    // system and nothing else.

    void Lock() override
    {
        int const error = pthread_mutex_lock(&mMutex);
        if (error != 0) [[unlikely]]
            CThreadImp::ThrowOSThreadException(error, kMutexLock);
    }

    bool TryLock() override
    {
        int const error = pthread_mutex_trylock(&mMutex);
        if (error != 0 && error != EBUSY) [[unlikely]]
            CThreadImp::ThrowOSThreadException(error, kMutexLock);
        return error == 0;
    }

    void Unlock() override
    {
        int const error = pthread_mutex_unlock(&mMutex);
        if (error != 0) [[unlikely]]
            CThreadImp::ThrowOSThreadException(error, kMutexUnlock);
    }

private:
    friend class CConditionImp;  // waits on it

    pthread_mutex_t mMutex;
};
