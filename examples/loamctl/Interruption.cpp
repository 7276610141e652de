#include "loamctl/Interruption.h"

#include <atomic>
#include <cstring>
#include <utility>

#include <fmt/format.h>

#include "concurrency/CMutex.h"
#include "concurrency/CThread.h"
#include "concurrency/StMutexLocker.h"

namespace {

// What sReason holds beside the number of a signal.
constexpr int kNone = 0;
constexpr int kUnwanted = -1;

// Ends the watcher's wait for a signal, and calls of the system in the main thread.
constexpr int kNudge = SIGUSR1;
constexpr long long kNudgeStep = 10000;  // microseconds

std::atomic<int> sReason{kNone};
CMutex sAbortMutex;
std::function<void()> sAbort;  // guarded by sAbortMutex

void Interrupt(int signal)
{
    sReason.store(signal, std::memory_order_relaxed);
    StMutexLocker const lock(sAbortMutex);
    if (sAbort) sAbort();
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
    CWatcher(CInterruption& interruption, pthread_t mainThread)
        : CThread(nullptr, nullptr, &interruption.mGone)
        , mInterruption(interruption)
        , mMainThread(mainThread)
    {
    }

    void* Run() override
    {
        sigset_t nudge;
        sigemptyset(&nudge);
        sigaddset(&nudge, kNudge);
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
            pthread_sigmask(SIG_UNBLOCK, &mInterruption.mSignals, nullptr);
            Interrupt(signal);
            // Again and again, since the first may come just before the call that blocks.
            do {
                pthread_kill(mMainThread, kNudge);
            } while (!mInterruption.mQuit.TimedWait(kNudgeStep));
        }
        return nullptr;
    }

private:
    CInterruption& mInterruption;
    pthread_t mMainThread;
};

void CInterruption::Start()
{
    if (std::exchange(mStarted, true)) return;
    mSignals = SignalsToWatch();
    struct sigaction nudge = {};
    nudge.sa_handler = [](int) {};  // without SA_RESTART
    sigemptyset(&nudge.sa_mask);
    sigaction(kNudge, &nudge, &mOldNudge);
    pthread_sigmask(SIG_BLOCK, &mSignals, &mOldMask);
    (new CWatcher(*this, pthread_self()))->mImp->Start();
    mReady.Wait();
}

// The watcher may be about to go, but not before it has got its quit.
CInterruption::~CInterruption()
{
    if (!mStarted) return;
    pthread_kill(mWatcher, kNudge);
    mQuit.Post();
    mGone.Wait();
    sigaction(kNudge, &mOldNudge, nullptr);
    pthread_sigmask(SIG_SETMASK, &mOldMask, nullptr);
    sReason.store(kNone, std::memory_order_relaxed);
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
