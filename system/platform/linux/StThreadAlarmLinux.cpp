#include "system/platform/StThreadAlarm.h"

#include <csignal>
#include <ctime>
#include <utility>

#include <unistd.h>

// The name that the manual page gives, which glibc 2.36 doesn't define.
#ifndef sigev_notify_thread_id
#define sigev_notify_thread_id _sigev_un._tid
#endif

namespace {

constexpr long long kMicroSecondsPerSecond = 1000000;
constexpr long kNanoSecondsPerMicroSecond = 1000;
constexpr timespec kRepeat = {0, 1000L * 1000};  // a millisecond

}  // namespace

struct StThreadAlarm::Timer
{
    explicit Timer(timer_t id)
        : mId(id)
    {
    }

    Timer(Timer const&) = delete;
    Timer& operator=(Timer const&) = delete;

    ~Timer() { timer_delete(mId); }

    timer_t mId;
};

// Not ualarm, which takes less than a second, nor setitimer, whose signal goes to the process: both
// would also take the host's own alarm away.
StThreadAlarm::StThreadAlarm(long long microSeconds)
{
    sigevent event{};
    event.sigev_notify = SIGEV_THREAD_ID;
    event.sigev_signo = SIGALRM;
    event.sigev_notify_thread_id = gettid();
    timer_t id{};
    if (timer_create(CLOCK_MONOTONIC, &event, &id) == -1) return;
    auto timer = std::make_unique<Timer>(id);

    itimerspec times{};
    times.it_value.tv_sec = static_cast<time_t>(microSeconds / kMicroSecondsPerSecond);
    times.it_value.tv_nsec =
        static_cast<long>(microSeconds % kMicroSecondsPerSecond) * kNanoSecondsPerMicroSecond;
    times.it_interval = kRepeat;
    if (timer_settime(id, 0, &times, nullptr) == 0) mTimer = std::move(timer);
}

// A signal that is on its way arrives when the call that deletes the timer returns.
StThreadAlarm::~StThreadAlarm() = default;
