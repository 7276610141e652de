#include "marl/progressive_lock.h"

progressive_lock::progressive_lock(std::shared_mutex* mutex, strength mode)
    : mMutex(mutex)
{
    if (mode == exclusive) {
        mMutex->lock();
    } else {
        mMutex->lock_shared();
    }
    mHeld = true;
    mExclusive = mode == exclusive;
}

progressive_lock::~progressive_lock()
{
    if (!mHeld) return;
    if (mExclusive) {
        mMutex->unlock();
    } else {
        mMutex->unlock_shared();
    }
}

void progressive_lock::lock_exclusive()
{
    if (mExclusive) return;
    // Should the exclusive lock throw, nothing is held and the destructor must give nothing back.
    mMutex->unlock_shared();
    mHeld = false;
    mMutex->lock();
    mHeld = true;
    mExclusive = true;
}
