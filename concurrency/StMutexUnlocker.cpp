#include "concurrency/StMutexUnlocker.h"

void StMutexUnlocker::ChangeMutex(CMutex* newMutex)
{
    CMutex* const oldMutex = mMutex;
    if (newMutex != nullptr && mActive) newMutex->Unlock();
    mMutex = newMutex;
    if (oldMutex != nullptr && mActive) oldMutex->Lock();
}
