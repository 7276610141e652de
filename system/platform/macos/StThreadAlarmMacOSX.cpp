#include "system/platform/StThreadAlarm.h"

#include <csignal>

#include <dispatch/dispatch.h>
#include <pthread.h>

namespace {

constexpr int64_t kNanoSecondsPerMicroSecond = 1000;
constexpr uint64_t kRepeat = NSEC_PER_MSEC;

}  // namespace

struct StThreadAlarm::Timer
{
    Timer(dispatch_source_t source, dispatch_semaphore_t isOver)
        : mSource(source)
        , mIsOver(isOver)
    {
    }

    Timer(Timer const&) = delete;
    Timer& operator=(Timer const&) = delete;

    ~Timer()
    {
        dispatch_source_cancel(mSource);
        dispatch_semaphore_wait(mIsOver, DISPATCH_TIME_FOREVER);
        dispatch_release(mSource);
        dispatch_release(mIsOver);
        // A signal that is on its way arrives at the return from any call into the system.
        sigset_t pending;
        sigpending(&pending);
    }

    static void Interrupt(void* timer)
    {
        pthread_kill(static_cast<Timer*>(timer)->mThread, SIGALRM);
    }

    static void SayIsOver(void* timer)
    {
        dispatch_semaphore_signal(static_cast<Timer*>(timer)->mIsOver);
    }

    pthread_t mThread = pthread_self();
    dispatch_source_t mSource;     // owned
    dispatch_semaphore_t mIsOver;  // owned; no signal is sent after it
};

// The system has no timer that signals a thread, and ualarm's signal goes to any thread of the
// process. So one of the dispatcher's threads sends it.
StThreadAlarm::StThreadAlarm(long long microSeconds)
{
    dispatch_source_t const source =
        dispatch_source_create(DISPATCH_SOURCE_TYPE_TIMER, 0, 0,
                               dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_HIGH, 0));
    if (!source) return;
    mTimer = std::make_unique<Timer>(source, dispatch_semaphore_create(0));
    dispatch_set_context(source, mTimer.get());
    dispatch_source_set_event_handler_f(source, Timer::Interrupt);
    dispatch_source_set_cancel_handler_f(source, Timer::SayIsOver);
    dispatch_source_set_timer(
        source, dispatch_time(DISPATCH_TIME_NOW, microSeconds * kNanoSecondsPerMicroSecond),
        kRepeat, 0);
    dispatch_resume(source);
}

StThreadAlarm::~StThreadAlarm() = default;
