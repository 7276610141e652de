// What another thread sees.
#pragma once

#include "concurrency/CMutex.h"

#include <thread>

/// Runs `action` on a thread of its own and waits for its end.
template <class Action>
void OnOtherThread(Action const& action)
{
    std::thread(action).join();
}

/// True if another thread could have locked `mutex` just now; it is left as it was.
inline bool IsFreeForOthers(CMutex& mutex)
{
    bool isFree = false;
    OnOtherThread([&] {
        isFree = mutex.TryLock();
        if (isFree) mutex.Unlock();
    });
    return isFree;
}
