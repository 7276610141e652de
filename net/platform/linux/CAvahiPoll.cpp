#include "net/platform/linux/CAvahiPoll.h"

#include <utility>

#include <sys/epoll.h>
#include <sys/time.h>
#include <sys/timerfd.h>
#include <unistd.h>

static_assert(int{AVAHI_WATCH_IN} == EPOLLIN && int{AVAHI_WATCH_OUT} == EPOLLOUT);
static_assert(int{AVAHI_WATCH_ERR} == EPOLLERR && int{AVAHI_WATCH_HUP} == EPOLLHUP);

// Avahi leaves these two to who gives it an event loop.
struct AvahiWatch
{
    CAvahiPoll* mPoll;  // not owned
    int mDescriptor;
    unsigned mWanted;
    AvahiWatchCallback mCallback;
    void* mUserData;
    unsigned mReady = 0;
    bool mIsFreed = false;

    static AvahiWatch* New(AvahiPoll const* functions,
                           int descriptor,
                           AvahiWatchEvent wanted,
                           AvahiWatchCallback callback,
                           void* userData);
    static void Update(AvahiWatch* watch, AvahiWatchEvent wanted);
    static AvahiWatchEvent GetEvents(AvahiWatch* watch);
    static void Free(AvahiWatch* watch);
};

struct AvahiTimeout
{
    CAvahiPoll* mPoll;  // not owned
    AvahiTimeoutCallback mCallback;
    void* mUserData;
    timeval mDue = {};  // by the wall clock
    bool mIsEnabled = false;
    bool mIsFreed = false;

    static AvahiTimeout* New(AvahiPoll const* functions,
                             timeval const* due,
                             AvahiTimeoutCallback callback,
                             void* userData);
    static void Update(AvahiTimeout* timeout, timeval const* due);
    static void Free(AvahiTimeout* timeout);
};

namespace {

// Every message of the bus takes a timeout, so this many are passed on before others get a look in.
constexpr int kMostRounds = 1000;

bool IsEarlier(timeval const& one, timeval const& other)
{
    return one.tv_sec != other.tv_sec ? one.tv_sec < other.tv_sec : one.tv_usec < other.tv_usec;
}

CAvahiPoll* PollOf(AvahiPoll const* functions)
{
    return static_cast<CAvahiPoll*>(functions->userdata);
}

}  // namespace

AvahiWatch* AvahiWatch::New(AvahiPoll const* functions,
                            int descriptor,
                            AvahiWatchEvent wanted,
                            AvahiWatchCallback callback,
                            void* userData)
{
    CAvahiPoll* const poll = PollOf(functions);
    poll->mWatches.push_back(std::make_unique<AvahiWatch>(
        AvahiWatch{poll, descriptor, static_cast<unsigned>(wanted), callback, userData}));
    poll->UpdateInterest(descriptor);
    return poll->mWatches.back().get();
}

void AvahiWatch::Update(AvahiWatch* watch, AvahiWatchEvent wanted)
{
    watch->mWanted = static_cast<unsigned>(wanted);
    watch->mPoll->UpdateInterest(watch->mDescriptor);
}

AvahiWatchEvent AvahiWatch::GetEvents(AvahiWatch* watch)
{
    return static_cast<AvahiWatchEvent>(watch->mReady);
}

void AvahiWatch::Free(AvahiWatch* watch)
{
    CAvahiPoll* const poll = watch->mPoll;
    watch->mIsFreed = true;
    poll->UpdateInterest(watch->mDescriptor);
    poll->Purge();
}

AvahiTimeout* AvahiTimeout::New(AvahiPoll const* functions,
                                timeval const* due,
                                AvahiTimeoutCallback callback,
                                void* userData)
{
    CAvahiPoll* const poll = PollOf(functions);
    poll->mTimeouts.push_back(
        std::make_unique<AvahiTimeout>(AvahiTimeout{poll, callback, userData}));
    AvahiTimeout* const timeout = poll->mTimeouts.back().get();
    Update(timeout, due);
    return timeout;
}

void AvahiTimeout::Update(AvahiTimeout* timeout, timeval const* due)
{
    timeout->mIsEnabled = due != nullptr;
    if (due) timeout->mDue = *due;
    timeout->mPoll->UpdateTimer();
}

void AvahiTimeout::Free(AvahiTimeout* timeout)
{
    CAvahiPoll* const poll = timeout->mPoll;
    timeout->mIsFreed = true;
    poll->UpdateTimer();
    poll->Purge();
}

CAvahiPoll::CAvahiPoll()
    : mFunctions{this,
                 AvahiWatch::New,
                 AvahiWatch::Update,
                 AvahiWatch::GetEvents,
                 AvahiWatch::Free,
                 AvahiTimeout::New,
                 AvahiTimeout::Update,
                 AvahiTimeout::Free}
    , mEvents(epoll_create1(EPOLL_CLOEXEC))
    , mTimer(timerfd_create(CLOCK_REALTIME, TFD_CLOEXEC | TFD_NONBLOCK))
{
    epoll_event event = {};
    event.events = EPOLLIN;
    event.data.fd = mTimer;
    epoll_ctl(mEvents, EPOLL_CTL_ADD, mTimer, &event);
}

CAvahiPoll::~CAvahiPoll()
{
    if (mTimer >= 0) close(mTimer);
    if (mEvents >= 0) close(mEvents);
}

void CAvahiPoll::Run()
{
    mIsRunning = true;
    MarkReady();
    CallWatches();
    for (int round = 0; round < kMostRounds && CallDueTimeouts(); ++round) {}
    mIsRunning = false;
    Purge();
    if (std::exchange(mIsTimerStale, false)) UpdateTimer();
}

void CAvahiPoll::SetSignalled(bool isSignalled)
{
    if (mIsSignalled == isSignalled) return;
    mIsSignalled = isSignalled;
    UpdateTimer();
}

// Several watches may have one descriptor, which is in the set once, for what all of them want.
void CAvahiPoll::UpdateInterest(int descriptor)
{
    epoll_event event = {};
    event.data.fd = descriptor;
    for (auto const& watch : mWatches) {
        if (watch->mDescriptor == descriptor && !watch->mIsFreed) event.events |= watch->mWanted;
    }
    if (event.events == 0)
        epoll_ctl(mEvents, EPOLL_CTL_DEL, descriptor, &event);
    else if (epoll_ctl(mEvents, EPOLL_CTL_MOD, descriptor, &event) != 0)
        epoll_ctl(mEvents, EPOLL_CTL_ADD, descriptor, &event);
}

// Setting the timer also takes back that it has expired.
void CAvahiPoll::UpdateTimer()
{
    mIsTimerStale = mIsRunning;
    if (mIsRunning) return;
    AvahiTimeout const* first = nullptr;
    for (auto const& timeout : mTimeouts) {
        if (!timeout->mIsEnabled || timeout->mIsFreed) continue;
        if (!first || IsEarlier(timeout->mDue, first->mDue)) first = timeout.get();
    }
    itimerspec next = {};
    if (first && !mIsSignalled) next.it_value = {first->mDue.tv_sec, first->mDue.tv_usec * 1000};
    // 0 is no time for a timer; the next nanosecond has gone by too.
    if ((first || mIsSignalled) && next.it_value.tv_sec == 0 && next.it_value.tv_nsec == 0)
        next.it_value.tv_nsec = 1;
    timerfd_settime(mTimer, TFD_TIMER_ABSTIME, &next, nullptr);
}

void CAvahiPoll::MarkReady()
{
    constexpr int kMostEvents = 16;
    epoll_event events[kMostEvents];
    int const count = epoll_wait(mEvents, events, kMostEvents, 0);
    for (auto const& watch : mWatches) {
        watch->mReady = 0;
        for (int i = 0; i < count; ++i) {
            if (events[i].data.fd == watch->mDescriptor)
                watch->mReady = events[i].events & (watch->mWanted | EPOLLERR | EPOLLHUP);
        }
    }
}

// By index, since callbacks add to both lists.
void CAvahiPoll::CallWatches()
{
    for (std::size_t i = 0; i < mWatches.size(); ++i) {
        AvahiWatch* const watch = mWatches[i].get();
        if (watch->mIsFreed || watch->mReady == 0) continue;
        watch->mCallback(watch, watch->mDescriptor, static_cast<AvahiWatchEvent>(watch->mReady),
                         watch->mUserData);
        watch->mReady = 0;
    }
}

bool CAvahiPoll::CallDueTimeouts()
{
    timeval now = {};
    gettimeofday(&now, nullptr);
    bool isAny = false;
    for (std::size_t i = 0; i < mTimeouts.size(); ++i) {
        AvahiTimeout* const timeout = mTimeouts[i].get();
        if (timeout->mIsFreed || !timeout->mIsEnabled || IsEarlier(now, timeout->mDue)) continue;
        timeout->mIsEnabled = false;  // before, since the callback may enable it again
        mIsTimerStale = true;
        timeout->mCallback(timeout, timeout->mUserData);
        isAny = true;
    }
    return isAny;
}

void CAvahiPoll::Purge()
{
    if (mIsRunning) return;
    std::erase_if(mWatches, [](auto const& watch) { return watch->mIsFreed; });
    std::erase_if(mTimeouts, [](auto const& timeout) { return timeout->mIsFreed; });
}
