// Works on the entries of a walk with several threads, with results in the order of the walk.
//
// The calling thread walks, hands each batch of entries to the next thread that is free, and writes
// what comes back, entry by entry: whatever the number of threads, the output is the same. How far
// the threads may run ahead is bounded, in batches and in bytes: what is finished before its turn
// waits, and who has more to tell than that waits in the middle of its work.
//
// One lock guards all of it, and everybody waits at a semaphore of that lock while holding it. So
// an `Abort` of these semaphores finds each thread either waiting, and throws it out, or about to
// look at the flag.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "concurrency/CMutex.h"
#include "concurrency/CSemaphore.h"
#include "loamctl/CBasicWalk.h"
#include "loamctl/Command.h"
#include "loamctl/Reading.h"

class CCrewJob;

/// What came of an entry.
struct Outcome
{
    Reading mReading;
    long long mFound = 0;  ///< hits, words
};

/// What one thread needs for its files: buffers that are kept from one to the next.
class CBasicFileWorker
{
public:
    CBasicFileWorker() = default;
    CBasicFileWorker(CBasicFileWorker const&) = delete;
    CBasicFileWorker& operator=(CBasicFileWorker const&) = delete;
    virtual ~CBasicFileWorker() = default;

    /// Reads the entry and tells of it, in any thread, but in one at a time. An exception ends the
    /// whole run.
    virtual Outcome Work(TreeEntry const& entry, COutput& output) = 0;
};

class CCrew
{
public:
    using MakeWorker = std::function<std::unique_ptr<CBasicFileWorker>()>;
    /// Called for each entry in its turn, when what it had to tell, and the rest of its batch, has
    /// been added to the output.
    using Finish = std::function<void(TreeEntry const&, Outcome const&)>;

    /// At most `threads` of them, and no more than there is work for. `makeWorker` is called once
    /// for each, in the calling thread. From here on Ctrl-C is told by `CInterrupted`.
    CCrew(int threads, MakeWorker makeWorker, Session& session);
    CCrew(CCrew const&) = delete;
    CCrew& operator=(CCrew const&) = delete;
    /// Stops what is being done, and waits until all threads have gone.
    ~CCrew();

    /// Works on all that is left of the walk. Throws what a worker, the output or `finish` throws,
    /// and `CInterrupted`.
    void Run(CBasicWalk& walk, Finish const& finish);

private:
    class CCrewThread;

    void RunAll(CBasicWalk& walk, Finish const& finish);
    void FinishEntries(CCrewJob const& job, Finish const& finish);
    bool Give(CBasicWalk& walk);
    void StartThread();
    CCrewJob* Take();
    void WriteOut(CCrewJob& job);
    void WaitForNews(CCrewJob& job);
    void ShowProgress(CCrewJob const& job);
    void Abort();

    int mMostThreads;
    MakeWorker mMakeWorker;
    Session& mSession;
    int mThreads = 0;

    CMutex mMutex{true};
    CSemaphore mWork{mMutex};                      // waited at by threads without a job
    std::vector<std::unique_ptr<CCrewJob>> mJobs;  // a ring; all of them are made beforehand
    std::size_t mGiven = 0;     // how many have been handed out; guarded by mMutex
    std::size_t mTaken = 0;     // how many of them have a thread; guarded by mMutex
    std::size_t mFinished = 0;  // how many have been written out
    bool mAborted = false;      // guarded by mMutex
    CSemaphore mGone;           // one for each thread that has ended
    long long mFiles = 0;
    long long mBytes = 0;
};
