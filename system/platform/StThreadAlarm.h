// A timer whose signal reaches the thread that waits, and not just any thread of the process.
#pragma once

#include <memory>

/// For a scope, sends `SIGALRM` to the calling thread when the time is over, and then again and
/// again, so that a signal that comes just before the thread blocks isn't the last one. None is on
/// its way any more after the scope, if the thread has the signal unblocked.
class StThreadAlarm
{
public:
    /// `microSeconds`: from 1 to 10^15.
    explicit StThreadAlarm(long long microSeconds);
    StThreadAlarm(StThreadAlarm const&) = delete;
    StThreadAlarm& operator=(StThreadAlarm const&) = delete;
    ~StThreadAlarm();

    /// False if the system had no timer for it.
    bool IsSet() const { return mTimer != nullptr; }

private:
    struct Timer;
    std::unique_ptr<Timer> mTimer;
};
