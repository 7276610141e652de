// Puts the cancellation of a thread off while it is in a place that an exception can't leave.
#pragma once

#include <pthread.h>

/// In a scope, no call of the system ends the calling thread. For destructors that close something:
/// where cancelling unwinds the stack like an exception, it would end the process there.
class StNotCancelled
{
public:
    StNotCancelled() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &mFormer); }

    StNotCancelled(StNotCancelled const&) = delete;
    StNotCancelled& operator=(StNotCancelled const&) = delete;

    ~StNotCancelled()
    {
        int ours = 0;
        pthread_setcancelstate(mFormer, &ours);
    }

private:
    int mFormer = PTHREAD_CANCEL_ENABLE;
};
