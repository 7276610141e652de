#include "concurrency/CMutex.h"

#include "concurrency/CMutexImp.h"

#include <pthread.h>

namespace {

// An integer on one system, a pointer on another.
unsigned long CurrentThread()
{
    return reinterpret_cast<unsigned long>(pthread_self());
}

// What every lock is made of. Said here, so that the calls need no table.
CMutexImp& Plain(CBasicMutexImp* imp)
{
    return static_cast<CMutexImp&>(*imp);
}

}  // namespace

CMutex::CMutex()
    : CMutex(false)
{
}

CMutex::CMutex(bool recursive)
    : mImp(new CMutexImp)
    , mRecursive(recursive)
{
}

CMutex::~CMutex()
{
    delete mImp;
}

void CMutex::Lock()
{
    unsigned long const thread = CurrentThread();
    if (LockAgain(thread)) return;
    Plain(mImp).Lock();
    SetHeldBy(thread);
}

bool CMutex::TryLock()
{
    unsigned long const thread = CurrentThread();
    if (LockAgain(thread)) return true;
    if (!Plain(mImp).TryLock()) return false;
    SetHeldBy(thread);
    return true;
}

void CMutex::Unlock()
{
    int const count = mLockCount.load(std::memory_order_relaxed) - 1;
    mLockCount.store(count, std::memory_order_relaxed);
    // Kept on purpose: one Unlock too many leaves a recursive lock at -1 without a word.
    if (count != 0 && mRecursive) return;
    mOwner.store(0, std::memory_order_relaxed);
    Plain(mImp).Unlock();
}

// Reads without the lock: only a thread that holds it can find itself to be the owner.
bool CMutex::LockAgain(unsigned long thread)
{
    if (!mRecursive) return false;
    int const count = mLockCount.load(std::memory_order_relaxed);
    if (count < 1 || mOwner.load(std::memory_order_relaxed) != thread) return false;
    mLockCount.store(count + 1, std::memory_order_relaxed);
    return true;
}

void CMutex::SetHeldBy(unsigned long thread)
{
    mLockCount.store(mLockCount.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    mOwner.store(thread, std::memory_order_relaxed);
}
