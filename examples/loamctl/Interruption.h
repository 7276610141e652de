// Stopping long work: by Ctrl-C or SIGTERM, and when nobody wants its results any more.
//
// Long work asks `ThrowIfInterrupted` wherever a hundredth of a second may have gone by. A thread
// that waits for another does so at a semaphore that a `StAbortOnInterrupt` aborts. A call of the
// system that blocks comes back with EINTR, in the main thread and in those with a `StNudged`.
//
// Nothing of ours runs within a signal handler: the signals are blocked in all threads, and one
// thread waits for them.
#pragma once

#include <csignal>
#include <exception>
#include <functional>
#include <memory>
#include <string>

#include <pthread.h>

#include "concurrency/CSemaphore.h"

/// The work was told to stop.
class CInterrupted : public std::exception
{
public:
    explicit CInterrupted(int signal);

    /// 0 if its results aren't wanted any more.
    int GetSignal() const { return mSignal; }

    char const* what() const noexcept override { return mWhat.c_str(); }

private:
    int mSignal;
    std::string mWhat;
};

/// True once work is to stop. Any thread may ask; it costs a load.
bool IsInterrupted();
/// Throws `CInterrupted` once work is to stop.
void ThrowIfInterrupted();

class StNudged;

/// Lets SIGINT and SIGTERM stop the work in an orderly way. One in a program, in its main thread,
/// before any other thread is started.
class CInterruption
{
public:
    /// Changes nothing yet: who does not ask dies of a signal as any program does.
    CInterruption();
    CInterruption(CInterruption const&) = delete;
    CInterruption& operator=(CInterruption const&) = delete;
    /// Puts back what was before. All threads that were started meanwhile are gone by then.
    ~CInterruption();

    /// From now on the first signal stops the work, and a second one ends the process at once. A
    /// signal that is ignored, as by nohup, stays so. Asking again does nothing.
    void Start();

private:
    class CWatcher;

    void PutBack();

    sigset_t mSignals = {};
    sigset_t mOldMask = {};
    struct sigaction mOldNudge = {};
    std::unique_ptr<StNudged> mNudged;  // the main thread; null before the start
    pthread_t mWatcher = {};            // written by the watcher before it posts mReady
    CSemaphore mReady;
    CSemaphore mQuit;
    CSemaphore mGone;
};

/// While one lives, an interruption calls `abort` from a thread of its own; at once, and perhaps
/// once more, if the work has been told to stop already.
class StAbortOnInterrupt
{
public:
    explicit StAbortOnInterrupt(std::function<void()> abort);
    StAbortOnInterrupt(StAbortOnInterrupt const&) = delete;
    StAbortOnInterrupt& operator=(StAbortOnInterrupt const&) = delete;
    /// Blocks while `abort` runs.
    ~StAbortOnInterrupt();
};

/// While one lives, an interruption ends calls of the system in the thread that made it. One for a
/// thread.
class StNudged
{
public:
    StNudged();
    StNudged(StNudged const&) = delete;
    StNudged& operator=(StNudged const&) = delete;
    ~StNudged();

private:
    pthread_t mThread;
};

/// While one lives, long work of all threads stops: its results aren't wanted any more.
class StUnwanted
{
public:
    StUnwanted();
    StUnwanted(StUnwanted const&) = delete;
    StUnwanted& operator=(StUnwanted const&) = delete;
    ~StUnwanted();
};
