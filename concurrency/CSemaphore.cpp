#include "concurrency/CSemaphore.h"

#include "concurrency/StMutexLocker.h"
#include "foundation/FailureDomains.h"
#include "marl/HierarchicalException.h"

namespace {

// Gives up a lock that the caller holds. `Retake` takes it back and may throw; a wait that fails,
// or a thread that is cancelled in it, takes it back on the way out, where a failure ends the
// process.
class StGivenUp
{
public:
    explicit StGivenUp(CMutex& mutex)
        : mMutex(&mutex)
    {
        mutex.Unlock();
    }

    StGivenUp(StGivenUp const&) = delete;
    StGivenUp& operator=(StGivenUp const&) = delete;

    ~StGivenUp()
    {
        if (mMutex) mMutex->Lock();
    }

    void Retake()
    {
        CMutex* const mutex = mMutex;
        mMutex = nullptr;
        mutex->Lock();
    }

private:
    CMutex* mMutex;  // not owned; null once it is held again
};

}  // namespace

CSemaphore::CSemaphore()
    : mMutex(&mOwnMutex)
{
}

CSemaphore::CSemaphore(CMutex& mutex)
    : mMutex(&mutex)
{
}

CSemaphore::~CSemaphore() = default;

void CSemaphore::SetExternalMutex(CMutex& mutex)
{
    mMutex = &mutex;
}

void CSemaphore::Post()
{
    ThrowIfAborted(kSemaphorePost);
    StMutexLocker const lock(mMutex);
    int const old = GetState();
    mCount.store(old + 1, std::memory_order_relaxed);
    if (old < 0) mCondition.Signal();
}

void CSemaphore::Wait()
{
    CMutex scratch;
    StMutexLocker const lock(scratch);
    Wait(scratch);
}

void CSemaphore::Wait(CMutex& heldMutex)
{
    // Kept on purpose: the flag is looked at before the lock is taken, so a waiter can slip in
    // behind an Abort.
    ThrowIfAborted(kSemaphoreWait);
    StMutexLocker const lock(mMutex);
    if (Take() < 1) {
        StGivenUp givenUp(heldMutex);
        // Kept on purpose: no loop. Each signal is one unit, and the wake itself is taken for it.
        mCondition.Wait(*mMutex);
        givenUp.Retake();
    }
    ThrowIfAborted(kSemaphoreWait);
}

bool CSemaphore::TimedWait(long long microseconds)
{
    CMutex scratch;
    StMutexLocker const lock(scratch);
    return TimedWait(scratch, microseconds);
}

bool CSemaphore::TimedWait(CMutex& heldMutex, long long microseconds)
{
    ThrowIfAborted(kSemaphoreWait);
    StMutexLocker const lock(mMutex);
    bool isTaken = true;
    if (Take() < 1) {
        StGivenUp givenUp(heldMutex);
        isTaken = mCondition.TimedWait(*mMutex, microseconds);
        // Kept on purpose: withdrawn also if Abort has set the count to 0 meanwhile.
        if (!isTaken) mCount.store(GetState() + 1, std::memory_order_relaxed);
        givenUp.Retake();
    }
    ThrowIfAborted(kSemaphoreWait);
    return isTaken;
}

bool CSemaphore::Immediate()
{
    StMutexLocker const lock(mMutex);
    if (GetState() < 1) return false;
    Take();
    return true;
}

void CSemaphore::Abort()
{
    StMutexLocker const lock(mMutex);
    mAborted.store(true, std::memory_order_relaxed);
    while (GetState() < 0) {
        mCondition.Signal();
        mCount.store(GetState() + 1, std::memory_order_relaxed);
    }
    mCount.store(0, std::memory_order_relaxed);
}

void CSemaphore::Unabort()
{
    mAborted.store(false, std::memory_order_relaxed);
}

// Enters a claim for a unit and answers the count before it, with the lock held.
int CSemaphore::Take()
{
    int const old = GetState();
    mCount.store(old - 1, std::memory_order_relaxed);
    return old;
}

void CSemaphore::ThrowIfAborted(int operation) const
{
    if (!mAborted.load(std::memory_order_relaxed)) return;
    throw HierarchicalException(kThreadDomain, kThreadAborted, operation, 0, nullptr);
}
