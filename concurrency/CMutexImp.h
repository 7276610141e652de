// The plain lock: a POSIX mutex of default attributes.
#pragma once

#include <pthread.h>

#include "concurrency/CBasicMutexImp.h"

class CMutexImp final : public CBasicMutexImp
{
public:
    CMutexImp();
    ~CMutexImp() override;
    void Lock() override;
    bool TryLock() override;
    void Unlock() override;

private:
    friend class CConditionImp;  // waits on it

    pthread_mutex_t mMutex;
};
