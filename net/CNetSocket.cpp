#include "net/CNetSocket.h"

#include <cerrno>
#include <utility>

#include <unistd.h>

// One descriptor. Whoever leaves it last, the socket's owner or a call, closes it and deletes this.
struct CNetSocket::Shared
{
    explicit Shared(int descriptor)
        : mDescriptor(descriptor)
    {
    }

    // Under the socket's mutex. True for the last one, who then has to call Finish.
    bool Leave() { return --mHolders == 0; }

    // Without the mutex: closing may take its time. The error, or 0.
    static int Finish(Shared* shared)
    {
        int const error = close(shared->mDescriptor) == -1 ? errno : 0;
        delete shared;
        return error;
    }

    int mDescriptor;
    int mHolders = 1;  // the owner and the calls; guarded by the socket's mutex
    // As a new socket has them.
    unsigned int mReceiveTimeout = 0;
    unsigned int mSendTimeout = 0;
};

CNetSocket::~CNetSocket()
{
    delete mShared;
}

void CNetSocket::Set(int descriptor)
{
    auto* const shared = new Shared(descriptor);
    Close();
    std::lock_guard const lock(mMutex);
    mShared = shared;
}

int CNetSocket::Close()
{
    Shared* shared = nullptr;
    {
        std::lock_guard const lock(mMutex);
        shared = std::exchange(mShared, nullptr);
        if (!shared || !shared->Leave()) return 0;
    }
    return Shared::Finish(shared);
}

CNetSocket::StUse::StUse(CNetSocket& socket)
    : mSocket(socket)
{
    std::lock_guard const lock(mSocket.mMutex);
    mShared = mSocket.mShared;
    if (mShared) ++mShared->mHolders;
}

CNetSocket::StUse::~StUse()
{
    if (!mShared) return;
    {
        std::lock_guard const lock(mSocket.mMutex);
        if (!mShared->Leave()) return;
    }
    Shared::Finish(mShared);
}

int CNetSocket::StUse::Get() const
{
    return mShared ? mShared->mDescriptor : 0;
}

bool CNetSocket::StUse::IsCurrent() const
{
    std::lock_guard const lock(mSocket.mMutex);
    return mShared && mShared == mSocket.mShared;
}

// This use is still there, so it isn't the last one.
void CNetSocket::StUse::GiveUp() const
{
    std::lock_guard const lock(mSocket.mMutex);
    if (!mShared || mShared != mSocket.mShared) return;
    mSocket.mShared = nullptr;
    mShared->Leave();
}

unsigned int& CNetSocket::StUse::ReceiveTimeout() const
{
    return mShared->mReceiveTimeout;
}

unsigned int& CNetSocket::StUse::SendTimeout() const
{
    return mShared->mSendTimeout;
}
