// What the wait for a key asks of the timer, and what it does without one.
#include "system/CKeyboardInput.h"

#include "system/CKeyboardInputImp.h"
#include "testing/StChildProcess.h"

#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <limits>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

// How the timer is to behave in this process. Only a child sets it, and so for itself alone.
struct
{
    bool mCannotBeMade = false;
    bool mCannotBeSet = false;
    bool mWaitsForTheFirstSignal = false;
    bool mIsHurried = false;
} sTimer;

itimerspec sTimes;            // what the timer was last set to
struct sigaction sHandler;    // what the action was then
volatile sig_atomic_t sSeen;  // signals that the test's own handler saw

void UsePipeAsInput(int (&ends)[2])
{
    if (pipe(ends) != 0) throw std::runtime_error("pipe failed");
    dup2(ends[0], STDIN_FILENO);
}

std::string Text(timespec const& time)
{
    return std::to_string(time.tv_sec) + " s " + std::to_string(time.tv_nsec) + " ns";
}

char const* Wait(float seconds)
{
    return CKeyboardInput::WaitInput(seconds) ? "key" : "no key";
}

}  // namespace

extern "C" {

int __real_timer_create(clockid_t clock, sigevent* event, timer_t* timer);
int __real_timer_settime(timer_t timer, int flags, itimerspec const* times, itimerspec* former);
int __wrap_timer_create(clockid_t clock, sigevent* event, timer_t* timer);
int __wrap_timer_settime(timer_t timer, int flags, itimerspec const* times, itimerspec* former);

int __wrap_timer_create(clockid_t clock, sigevent* event, timer_t* timer)
{
    if (!sTimer.mCannotBeMade) return __real_timer_create(clock, event, timer);
    errno = EAGAIN;
    return -1;
}

int __wrap_timer_settime(timer_t timer, int flags, itimerspec const* times, itimerspec* former)
{
    sTimes = *times;
    sigaction(SIGALRM, nullptr, &sHandler);
    if (sTimer.mCannotBeSet) {
        errno = EINVAL;
        return -1;
    }
    itimerspec hurried = *times;
    if (sTimer.mIsHurried) hurried.it_value = {0, 1};
    int const result = __real_timer_settime(timer, flags, &hurried, former);
    if (sTimer.mWaitsForTheFirstSignal) pause();
    return result;
}

}  // extern "C"

TEST(CKeyboardInputTimer, AnyNumberOfSecondsIsSet)
{
    struct
    {
        char const* mWhat;
        float mSeconds;
        char const* mTime;
    } const cases[] = {
        {"a tenth", 0.1F, "0 s 100000000 ns"},
        {"a half", 0.5F, "0 s 500000000 ns"},
        {"just under one", 0.999999F, "0 s 999999000 ns"},
        {"one", 1, "1 s 0 ns"},
        {"one and a half", 1.5F, "1 s 500000000 ns"},
        {"a minute", 60, "60 s 0 ns"},
        {"longer than 32 bits of microseconds", 5000, "5000 s 0 ns"},
        {"a year", 31536000, "31536000 s 0 ns"},
        {"the longest", 1e9F, "1000000000 s 0 ns"},
        {"more than the longest", 1e30F, "1000000000 s 0 ns"},
        {"for ever", std::numeric_limits<float>::infinity(), "1000000000 s 0 ns"},
        {"a microsecond", 1e-6F, "0 s 1000 ns"},
        {"less than a microsecond", 1e-9F, "0 s 1000 ns"},
        {"nothing", 0, "0 s 1000 ns"},
        {"less than nothing", -1, "0 s 1000 ns"},
        {"not a number", std::nanf(""), "0 s 1000 ns"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        StChildProcess const child([&c](CTestLink& parent) {
            int ends[2];
            UsePipeAsInput(ends);
            sTimer.mIsHurried = true;
            parent.Say(Wait(c.mSeconds));
            parent.Say(Text(sTimes.it_value));
        });
        EXPECT_EQ(child.Hear(), "no key");
        EXPECT_EQ(child.Hear(), c.mTime);
    }
}

TEST(CKeyboardInputTimer, HandlerInterruptsTheReadAndBlocksNothing)
{
    StChildProcess const child([](CTestLink& parent) {
        int ends[2];
        UsePipeAsInput(ends);
        sTimer.mIsHurried = true;
        parent.Say(Wait(1));
        parent.Say(sHandler.sa_handler == getchTimeout ? "getchTimeout" : "another");
        parent.Say(sHandler.sa_flags & SA_RESTART ? "restarts" : "interrupts");
        bool isEmpty = true;
        for (int signal = 1; signal < SIGRTMIN; ++signal)
            isEmpty = isEmpty && sigismember(&sHandler.sa_mask, signal) == 0;
        parent.Say(isEmpty ? "blocks nothing" : "blocks");
    });
    EXPECT_EQ(child.Hear(), "no key");
    EXPECT_EQ(child.Hear(), "getchTimeout");
    EXPECT_EQ(child.Hear(), "interrupts");
    EXPECT_EQ(child.Hear(), "blocks nothing");
}

// Between the setting of the timer and the read anything may happen, the whole time may pass.
TEST(CKeyboardInputTimer, SignalBeforeTheReadIsNotTheLast)
{
    StChildProcess const child([](CTestLink& parent) {
        int ends[2];
        UsePipeAsInput(ends);
        sTimer.mWaitsForTheFirstSignal = true;
        parent.Say(Wait(0.001F));
    });
    EXPECT_EQ(child.Hear(), "no key");
}

TEST(CKeyboardInputTimer, WithoutATimerThereIsNoWait)
{
    struct
    {
        char const* mWhat;
        bool mCannotBeMade;
        bool mCannotBeSet;
    } const cases[] = {
        {"none can be made", true, false},
        {"none can be set", false, true},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        StChildProcess const child([&c](CTestLink& parent) {
            int ends[2];
            UsePipeAsInput(ends);
            std::signal(SIGALRM, [](int) { sSeen = sSeen + 1; });
            sTimer.mCannotBeMade = c.mCannotBeMade;
            sTimer.mCannotBeSet = c.mCannotBeSet;
            parent.Say(Wait(3600));
            raise(SIGALRM);
            parent.Say(std::to_string(sSeen));

            // All is well again once there is one.
            sTimer = {};
            if (write(ends[1], "k", 1) == 1) parent.Say(Wait(3600));
            parent.Say(std::to_string(getchar()));
        });
        EXPECT_EQ(child.Hear(), "no key");
        EXPECT_EQ(child.Hear(), "1");
        EXPECT_EQ(child.Hear(), "key");
        EXPECT_EQ(child.Hear(), std::to_string('k'));
    }
}
