// What one thread hears and another works on.
#pragma once

#include <utility>
#include <vector>

#include "concurrency/CCondition.h"
#include "concurrency/CMutex.h"
#include "concurrency/StMutexLocker.h"

/// Any number of threads add, one takes.
template <class T>
class CInbox
{
public:
    void Add(T item)
    {
        StMutexLocker const lock(mMutex);
        mItems.push_back(std::move(item));
        mChanged.Signal();
    }

    /// Lets nobody wait any more.
    void Close()
    {
        StMutexLocker const lock(mMutex);
        mIsClosed = true;
        mChanged.Signal();
    }

    /// Waits until there is something and replaces `items` by all of it. False once it is closed.
    bool Take(std::vector<T>& items)
    {
        items.clear();
        StMutexLocker const lock(mMutex);
        while (mItems.empty() && !mIsClosed)
            mChanged.Wait(mMutex);
        items.swap(mItems);
        return !mIsClosed;
    }

private:
    CMutex mMutex;
    CCondition mChanged;
    std::vector<T> mItems;   // guarded by mMutex
    bool mIsClosed = false;  // guarded by mMutex
};
