#include "system/CKeyboardInputImp.h"

#include "system/platform/StThreadAlarm.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdio>

#include <unistd.h>

namespace {

// Longer than any host runs, and held by every system's timers.
constexpr double kLongestWait = 1e9;
constexpr double kMicroSecondsPerSecond = 1e6;

// At least 1: a timer of 0 would never go off. What isn't a number waits no longer than that.
long long MicroSecondsOf(float seconds)
{
    if (!(seconds > 0)) return 1;
    double const microSeconds =
        std::min(static_cast<double>(seconds), kLongestWait) * kMicroSecondsPerSecond;
    return std::max(std::llround(microSeconds), 1LL);
}

// Another action for SIGALRM in a scope. Without SA_RESTART, so that the signal ends a read.
class StAlarmAction
{
public:
    explicit StAlarmAction(void (*handler)(int))
    {
        struct sigaction action
        {
        };

        action.sa_handler = handler;
        sigemptyset(&action.sa_mask);
        sigaction(SIGALRM, &action, &mFormer);
    }

    StAlarmAction(StAlarmAction const&) = delete;
    StAlarmAction& operator=(StAlarmAction const&) = delete;

    ~StAlarmAction() { sigaction(SIGALRM, &mFormer, nullptr); }

private:
    struct sigaction mFormer
    {
    };
};

// SIGALRM let through to this thread in a scope, for hosts that block signals in their threads.
class StAlarmUnblocked
{
public:
    StAlarmUnblocked()
    {
        sigset_t alarm;
        sigemptyset(&alarm);
        sigaddset(&alarm, SIGALRM);
        pthread_sigmask(SIG_UNBLOCK, &alarm, &mFormer);
    }

    StAlarmUnblocked(StAlarmUnblocked const&) = delete;
    StAlarmUnblocked& operator=(StAlarmUnblocked const&) = delete;

    ~StAlarmUnblocked() { pthread_sigmask(SIG_SETMASK, &mFormer, nullptr); }

private:
    sigset_t mFormer;
};

// Reads a byte of stdin, or EOF. A timeout isn't an error of the stream and leaves none behind.
int ReadKey()
{
    errno = 0;
    int const key = getchar();
    if (key == EOF && errno == EINTR) clearerr(stdin);
    return key;
}

}  // namespace

void getchTimeout(int) {}

bool CKeyboardInputImp::WaitInput(float seconds)
{
    int key = EOF;
    {
        // In this order, so that the last signal still meets our handler.
        StAlarmAction const action(getchTimeout);
        StAlarmUnblocked const unblocked;
        StThreadAlarm const alarm(MicroSecondsOf(seconds));
        if (alarm.IsSet()) key = ReadKey();
    }
    if (key == EOF) return false;
    ungetc(key, stdin);
    return true;
}

bool CKeyboardInputImp::HasTTYInputConsole()
{
    return isatty(fileno(stdin)) != 0;
}
