#include "concurrency/StMutexLocker.h"

void StMutexLocker::ChangeMutex(CMutex* newMutex)
{
    CMutex* const oldMutex = mMutex;
    if (newMutex != nullptr && mActive) newMutex->Lock();
    mMutex = newMutex;
    if (oldMutex != nullptr && mActive) oldMutex->Unlock();
}
