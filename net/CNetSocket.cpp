#include "net/CNetSocket.h"

#include "foundation/StNotCancelled.h"

#include <algorithm>
#include <cerrno>

#include <unistd.h>

namespace {

int DescriptorIn(std::uint64_t state)
{
    return static_cast<int>(state >> 32);
}

std::uint32_t CallsIn(std::uint64_t state)
{
    return static_cast<std::uint32_t>(state);
}

}  // namespace

void CNetSocket::Set(int descriptor)
{
    Close();
    mReceiveTimeout.store(0, std::memory_order_relaxed);
    mSendTimeout.store(0, std::memory_order_relaxed);
    mState = static_cast<std::uint64_t>(descriptor) << 32;
}

int CNetSocket::Close()
{
    std::uint64_t state = 0;
    {
        std::lock_guard const lock(mMutex);
        state = mState.exchange(0);
        if (CallsIn(state) != 0) Retire(state);
    }
    if (DescriptorIn(state) == 0 || CallsIn(state) != 0) return 0;
    return close(DescriptorIn(state)) == -1 ? errno : 0;
}

// Under the mutex, so that a call that doesn't find its descriptor in mState finds it here.
void CNetSocket::Retire(std::uint64_t state)
{
    mRetired.push_back({DescriptorIn(state), CallsIn(state)});
}

// The number tells the descriptors apart: the system gives it out again only when it is closed.
void CNetSocket::LeaveRetired(int descriptor)
{
    {
        std::lock_guard const lock(mMutex);
        auto const retired =
            std::find_if(mRetired.begin(), mRetired.end(), [descriptor](Retired const& one) {
                return one.mDescriptor == descriptor;
            });
        if (--retired->mCalls != 0) return;
        mRetired.erase(retired);
    }
    StNotCancelled const notCancelled;
    close(descriptor);
}

CNetSocket::StUse::StUse(CNetSocket& socket)
    : mSocket(socket)
    , mDescriptor(0)
{
    std::uint64_t state = mSocket.mState;
    while (DescriptorIn(state) != 0) {
        if (!mSocket.mState.compare_exchange_weak(state, state + 1)) continue;
        mDescriptor = DescriptorIn(state);
        return;
    }
}

CNetSocket::StUse::~StUse()
{
    if (mDescriptor == 0) return;
    std::uint64_t state = mSocket.mState;
    while (DescriptorIn(state) == mDescriptor) {
        if (mSocket.mState.compare_exchange_weak(state, state - 1)) return;
    }
    mSocket.LeaveRetired(mDescriptor);
}

bool CNetSocket::StUse::IsCurrent() const
{
    return mDescriptor != 0 && DescriptorIn(mSocket.mState) == mDescriptor;
}

// This call is still on it, so that it isn't closed here.
void CNetSocket::StUse::GiveUp() const
{
    std::lock_guard const lock(mSocket.mMutex);
    std::uint64_t state = mSocket.mState;
    while (mDescriptor != 0 && DescriptorIn(state) == mDescriptor) {
        if (!mSocket.mState.compare_exchange_weak(state, 0)) continue;
        mSocket.Retire(state);
        return;
    }
}
