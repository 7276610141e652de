#include "concurrency/CMutexImp.h"

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
