#include "loamctl/Interruption.h"

#include <atomic>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "concurrency/CMutex.h"
#include "concurrency/CThread.h"
#include "concurrency/StMutexLocker.h"
#include "loamctl/StartThread.h"
#include "marl/HierarchicalException.h"

namespace {

// What sReason holds beside the number of a signal.
constexpr int kNone = 0;
constexpr int kUnwanted = -1;

// Ends the watcher's wait for a signal, and calls of the system in other threads.
constexpr int kNudge = SIGUSR1;
constexpr long long kNudgeStep = 10000;  // microseconds

std::atomic<int> sReason{kNone};
CMutex sAbortMutex;
std::function<void()> sAbort;  // guarded by sAbortMutex
CMutex sNudgedMutex;
std::vector<pthread_t> sNudged;  // guarded by sNudgedMutex

void Interrupt(int signal)
{
    sReason.store(signal, std::memory_order_relaxed);
    StMutexLocker const lock(sAbortMutex);
    if (sAbort) sAbort();
}

sigset_t OnlyNudge()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, kNudge);
    return signals;
}

void NudgeAll()
{
    StMutexLocker const lock(sNudgedMutex);
    for (pthread_t const thread : sNudged)
        pthread_kill(thread, kNudge);
}

sigset_t SignalsToWatch()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (int const signal : {SIGINT, SIGTERM}) {
        struct sigaction action = {};
        sigaction(signal, nullptr, &action);
        if (action.sa_handler != SIG_IGN) sigaddset(&signals, signal);
    }
    return signals;
}

}  // namespace

CInterrupted::CInterrupted(int signal)
    : mSignal(signal)
    , mWhat(signal == 0 ? "not wanted any more" : fmt::format("stopped by signal {}", signal))
{
}

bool IsInterrupted()
{
    return sReason.load(std::memory_order_relaxed) != kNone;
}

void ThrowIfInterrupted()
{
    int const reason = sReason.load(std::memory_order_relaxed);
    if (reason != kNone) throw CInterrupted(reason == kUnwanted ? 0 : reason);
}

// Waits for the first signal and passes it on.
class CInterruption::CWatcher : public CThread
{
public:
    explicit CWatcher(CInterruption& interruption)
        : CThread(nullptr, nullptr, &interruption.mGone)
        , mInterruption(interruption)
    {
    }

    void* Run() override
    {
        sigset_t const nudge = OnlyNudge();
        pthread_sigmask(SIG_BLOCK, &nudge, nullptr);
        mInterruption.mWatcher = pthread_self();
        mInterruption.mReady.Post();

        sigset_t awaited = mInterruption.mSignals;
        sigaddset(&awaited, kNudge);
        int signal = 0;
        sigwait(&awaited, &signal);
        if (signal == kNudge) {
            mInterruption.mQuit.Wait();
        } else {
            // A second one ends the process, unless this thread is on its way out.
            sigset_t const signals = mInterruption.mSignals;
            pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
            Interrupt(signal);
            // Again and again, since the first may come just before the call that blocks.
            do {
                NudgeAll();
            } while (!mInterruption.mQuit.TimedWait(kNudgeStep));
            pthread_sigmask(SIG_BLOCK, &signals, nullptr);
        }
        return nullptr;
    }

private:
    CInterruption& mInterruption;
};

void CInterruption::Start()
{
    if (mNudged) return;
    mSignals = SignalsToWatch();
    struct sigaction nudge = {};
    nudge.sa_handler = [](int) {};  // without SA_RESTART
    sigemptyset(&nudge.sa_mask);
    sigaction(kNudge, &nudge, &mOldNudge);
    pthread_sigmask(SIG_BLOCK, &mSignals, &mOldMask);
    mNudged = std::make_unique<StNudged>();
    try {
        StartThread(std::make_unique<CWatcher>(*this));
    } catch (HierarchicalException const&) {
        PutBack();
        throw;
    }
    mReady.Wait();
}

CInterruption::CInterruption() = default;

// The watcher may be about to go, but not before it has got its quit.
CInterruption::~CInterruption()
{
    if (!mNudged) return;
    pthread_kill(mWatcher, kNudge);
    mQuit.Post();
    mGone.Wait();
    PutBack();
    sReason.store(kNone, std::memory_order_relaxed);
}

void CInterruption::PutBack()
{
    mNudged.reset();
    // A nudge may still be on its way, which would end the process by what it did before.
    sigset_t const nudge = OnlyNudge();
    pthread_sigmask(SIG_BLOCK, &nudge, nullptr);
    sigset_t pending;
    sigpending(&pending);
    int signal = 0;
    if (sigismember(&pending, kNudge) == 1) sigwait(&nudge, &signal);
    sigaction(kNudge, &mOldNudge, nullptr);
    pthread_sigmask(SIG_SETMASK, &mOldMask, nullptr);
}

StAbortOnInterrupt::StAbortOnInterrupt(std::function<void()> abort)
{
    StMutexLocker const lock(sAbortMutex);
    sAbort = std::move(abort);
    if (IsInterrupted()) sAbort();
}

StAbortOnInterrupt::~StAbortOnInterrupt()
{
    StMutexLocker const lock(sAbortMutex);
    sAbort = nullptr;
}

StNudged::StNudged()
    : mThread(pthread_self())
{
    StMutexLocker const lock(sNudgedMutex);
    sNudged.push_back(mThread);
}

StNudged::~StNudged()
{
    StMutexLocker const lock(sNudgedMutex);
    std::erase_if(sNudged,
                  [this](pthread_t thread) { return pthread_equal(thread, mThread) != 0; });
}

StUnwanted::StUnwanted()
{
    int none = kNone;
    sReason.compare_exchange_strong(none, kUnwanted, std::memory_order_relaxed);
}

StUnwanted::~StUnwanted()
{
    int unwanted = kUnwanted;
    sReason.compare_exchange_strong(unwanted, kNone, std::memory_order_relaxed);
}
