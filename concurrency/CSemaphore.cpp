#include "concurrency/CSemaphore.h"

#include <utility>

#include "concurrency/StMutexLocker.h"
#include "concurrency/StMutexUnlocker.h"
#include "foundation/FailureDomains.h"
#include "marl/HierarchicalException.h"

namespace {

// Gives up the lock that a waiter's caller holds, where there is one. `Retake` takes it back and
// may throw; a wait that fails, or a thread that is cancelled in it, takes it back on the way out,
// where a failure ends the process.
class StGivenUp
{
public:
    StGivenUp(CMutex* heldMutex, CMutex* stateMutex)
        : mHeldMutex(heldMutex)
        , mStateMutex(stateMutex)
    {
        if (mHeldMutex) mHeldMutex->Unlock();
    }

    StGivenUp(StGivenUp const&) = delete;
    StGivenUp& operator=(StGivenUp const&) = delete;

    ~StGivenUp() { Retake(); }

    void Retake()
    {
        CMutex* const heldMutex = std::exchange(mHeldMutex, nullptr);
        if (!heldMutex || heldMutex->TryLock()) return;
        // Somebody has it, and may be about to enter a wait or a post with it: the next thing they
        // want is the lock of the state, which must not be held while waiting for theirs. It comes
        // second here too, as it does for whoever enters.
        StMutexUnlocker const open(mStateMutex);
        heldMutex->Lock();
    }

private:
    CMutex* mHeldMutex;   // not owned; null where there is none or it is held again
    CMutex* mStateMutex;  // not owned
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
    Wait_(nullptr, nullptr);
}

void CSemaphore::Wait(CMutex& heldMutex)
{
    Wait_(&heldMutex, nullptr);
}

bool CSemaphore::TimedWait(long long microseconds)
{
    return Wait_(nullptr, &microseconds);
}

bool CSemaphore::TimedWait(CMutex& heldMutex, long long microseconds)
{
    return Wait_(&heldMutex, &microseconds);
}

// One wait, for ever where `microseconds` is null. `heldMutex` may be null.
bool CSemaphore::Wait_(CMutex* heldMutex, long long const* microseconds)
{
    // Kept on purpose: the flag is looked at before the lock is taken, so a waiter can slip in
    // behind an Abort.
    ThrowIfAborted(kSemaphoreWait);
    StMutexLocker const lock(mMutex);
    bool isTaken = true;
    if (Take() < 1) {
        StGivenUp givenUp(heldMutex, mMutex);
        // Kept on purpose: no loop. Each signal is one unit, and the wake itself is taken for it.
        if (microseconds) {
            isTaken = mCondition.TimedWait(*mMutex, *microseconds);
        } else {
            mCondition.Wait(*mMutex);
        }
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
    // Kept on purpose: no lock, and no look at who is still on the way out.
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
