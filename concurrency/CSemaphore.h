// A counting semaphore that can be aborted, so that every blocked waiter leaves with an exception.
//
// Two gaps of an abort: a thread that looked at the flag just before `Abort`, and took the lock
// just after, blocks with the count at -1 until `Unabort` and a `Post`, or another `Abort`. A timed
// wait whose time runs out meanwhile may give back its unit after the count was set to 0: it stands
// at 1.
//
// The wake is taken for the unit: a wait that the system wakes for no reason ends as if a `Post`
// had come, and the count stays one lower, as it does where a wait fails or its thread is killed.
// Failures of the system throw as told at `CMutex` and `CCondition`.
#pragma once

#include <atomic>

#include "concurrency/CCondition.h"
#include "concurrency/CMutex.h"
#include "foundation/LoamExport.h"

/// Shared between threads; it must outlive every use. No virtual operations.
///
/// An operation on an aborted semaphore, and a wait that is aborted, throws `HierarchicalException`
/// of `kThreadDomain` with category `kThreadAborted`, context `kSemaphoreWait` or `kSemaphorePost`.
class LOAM_EXPORT CSemaphore
{
public:
    /// Count 0, not aborted.
    CSemaphore();
    /// The same, with its state guarded by `mutex`, which belongs to the caller and outlives the
    /// semaphore: part of a monitor of the caller's.
    explicit CSemaphore(CMutex& mutex);
    CSemaphore(CSemaphore const&) = delete;
    CSemaphore& operator=(CSemaphore const&) = delete;
    /// Nobody may be waiting.
    ~CSemaphore();

    /// Guards the state by `mutex` from now on. Only while no other thread uses the semaphore.
    void SetExternalMutex(CMutex& mutex);

    /// Adds a unit and wakes one waiter, if any. Blocks no longer than others hold the lock.
    void Post();

    /// Takes a unit, blocking until there is one.
    void Wait();
    /// The same for a caller who holds `heldMutex`: if the call has to block it gives that lock up
    /// meanwhile, and holds it again when it comes back, also by an exception. Others may post and
    /// wait while they hold it. Whoever takes it together with a mutex of the caller's that guards
    /// the state takes it first. It may be that very mutex if that is recursive; if not, the call
    /// blocks for ever.
    void Wait(CMutex& heldMutex);
    /// As `Wait`, for at most `microseconds` by the wall clock. True if a unit was taken.
    bool TimedWait(long long microseconds);
    bool TimedWait(CMutex& heldMutex, long long microseconds);
    /// Takes a unit if there is one; never blocks for one and never throws for being aborted.
    bool Immediate();

    /// Units to be had, or minus the number of waits under way. A snapshot, taken without the lock.
    int GetState() const { return mCount.load(std::memory_order_relaxed); }

    /// Throws out all who wait, refuses all who come, and drops the units that nobody has taken.
    /// Does not wait until they have left.
    void Abort();
    /// Lets the semaphore be used again, with the count as it is: 0 after an `Abort` with nobody in
    /// between. Only when all whom `Abort` woke have left: one that hasn't looked at the flag yet
    /// comes back as if it had taken a unit.
    void Unabort();

private:
    bool Wait_(CMutex* heldMutex, long long const* microseconds);
    int Take();
    void ThrowIfAborted(int operation) const;

    CMutex mOwnMutex;
    CMutex* mMutex;  // not owned; `mOwnMutex` unless the caller gave another
    CCondition mCondition;
    // Changed with `mMutex` held, read without it too.
    std::atomic<int> mCount{0};
    std::atomic<bool> mAborted{false};
};
