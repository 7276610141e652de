#include "concurrency/CMutexImp.h"

#include <cerrno>

#include "concurrency/CThreadImp.h"
#include "foundation/FailureDomains.h"

CMutexImp::CMutexImp()
{
    int const error = pthread_mutex_init(&mMutex, nullptr);
    if (error != 0) CThreadImp::ThrowOSThreadException(error, kMutexInitOrDestroy);
}

CMutexImp::~CMutexImp()
{
    int const error = pthread_mutex_destroy(&mMutex);
    // Can't leave a destructor, and isn't meant to: a lock that goes away while it is held ends the
    // process, and the exception tells the terminate handler why.
    if (error != 0) CThreadImp::ThrowOSThreadException(error, kMutexInitOrDestroy);
}

void CMutexImp::Lock()
{
    int const error = pthread_mutex_lock(&mMutex);
    if (error != 0) CThreadImp::ThrowOSThreadException(error, kMutexLock);
}

bool CMutexImp::TryLock()
{
    int const error = pthread_mutex_trylock(&mMutex);
    if (error != 0 && error != EBUSY) CThreadImp::ThrowOSThreadException(error, kMutexLock);
    return error == 0;
}

void CMutexImp::Unlock()
{
    int const error = pthread_mutex_unlock(&mMutex);
    if (error != 0) CThreadImp::ThrowOSThreadException(error, kMutexUnlock);
}
