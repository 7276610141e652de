// The event loop that Avahi's client asks for, with one descriptor to wait on for all of it.
//
// For one thread at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include <avahi-common/watch.h>

class CAvahiPoll
{
public:
    /// Check `IsGood`: the system may be out of descriptors.
    CAvahiPoll();
    CAvahiPoll(CAvahiPoll const&) = delete;
    CAvahiPoll& operator=(CAvahiPoll const&) = delete;
    /// Nobody may use what `GetFunctions` gave.
    ~CAvahiPoll();

    bool IsGood() const { return mEvents >= 0 && mTimer >= 0; }

    /// Can be read when `Run` has something to do, and while it is signalled.
    int GetDescriptor() const { return mEvents; }

    AvahiPoll const* GetFunctions() const { return &mFunctions; }

    /// Calls what is due, and doesn't block.
    void Run();
    /// Makes the descriptor readable until told otherwise.
    void SetSignalled(bool isSignalled);

private:
    friend struct AvahiWatch;
    friend struct AvahiTimeout;

    void UpdateInterest(int descriptor);
    void UpdateTimer();
    void MarkReady();
    void CallWatches();
    bool CallDueTimeouts();
    void Purge();

    AvahiPoll mFunctions;
    int mEvents;  // an epoll instance
    int mTimer;   // expires when the next timeout does, and at once while signalled
    bool mIsSignalled = false;
    bool mIsRunning = false;
    bool mIsTimerStale = false;  // to be set when they have been called
    // What is freed meanwhile is only marked while they are being called.
    std::vector<std::unique_ptr<AvahiWatch>> mWatches;
    std::vector<std::unique_ptr<AvahiTimeout>> mTimeouts;
};
