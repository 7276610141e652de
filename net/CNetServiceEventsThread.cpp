#include "net/CNetServiceEventsThread.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <poll.h>

#include "concurrency/CCondition.h"
#include "concurrency/StMutexLocker.h"

namespace {

constexpr double kIdleSeconds = 1;
constexpr int kWaitMilliseconds = 1000;

// Which reference is being processed now, for those who want to release it.
class CProcessing
{
public:
    void Begin(DNSServiceRef ref)
    {
        StMutexLocker const lock(mMutex);
        mRef = ref;
        ++mTurn;
        mThread = CThread::GetCurrentThreadRef();
    }

    void End()
    {
        StMutexLocker const lock(mMutex);
        mRef = nullptr;
        for (int i = 0; i < mWaiting; ++i)
            mEnded.Signal();
    }

    void WaitFor(DNSServiceRef ref)
    {
        StMutexLocker const lock(mMutex);
        while (IsUnderWay() && mRef == ref)
            Wait();
    }

    void WaitFor(unsigned long long turn)
    {
        StMutexLocker const lock(mMutex);
        while (IsUnderWay() && mTurn == turn)
            Wait();
    }

    unsigned long long GetTurn()
    {
        StMutexLocker const lock(mMutex);
        return mRef != nullptr && IsOurs() ? mTurn : 0;
    }

private:
    bool IsOurs() const { return mThread == CThread::GetCurrentThreadRef(); }

    // A callback that wants to release its own reference would wait for itself.
    bool IsUnderWay() const { return mRef != nullptr && !IsOurs(); }

    void Wait()
    {
        ++mWaiting;
        mEnded.Wait(mMutex);
        --mWaiting;
    }

    CMutex mMutex;
    CCondition mEnded;
    DNSServiceRef mRef = nullptr;  // all guarded by mMutex
    unsigned long long mTurn = 0;
    unsigned long mThread = 0;
    int mWaiting = 0;
};

// On the heap for the reason told at sNetServicesEventsThreadMutex.
CProcessing& sProcessing = *new CProcessing;

class StProcessing
{
public:
    StProcessing() = default;
    StProcessing(StProcessing const&) = delete;
    StProcessing& operator=(StProcessing const&) = delete;

    ~StProcessing() { sProcessing.End(); }
};

// The readable ones, in ascending order as they came. False if waiting failed for good.
bool WaitForSockets(std::vector<int> const& sockets, std::vector<int>& readable)
{
    std::vector<pollfd> polled;
    polled.reserve(sockets.size());
    for (int const socket : sockets)
        polled.push_back({socket, POLLIN, 0});
    readable.clear();
    if (poll(polled.data(), static_cast<nfds_t>(polled.size()), kWaitMilliseconds) == -1)
        return errno == EINTR;
    for (pollfd const& one : polled) {
        // A socket that was closed meanwhile is no failure: its reference has been released.
        if (one.revents != 0 && (one.revents & POLLNVAL) == 0) readable.push_back(one.fd);
    }
    return true;
}

bool IsReadable(int socket)
{
    pollfd polled{socket, POLLIN, 0};
    return poll(&polled, 1, 0) == 1 && (polled.revents & POLLNVAL) == 0;
}

}  // namespace

CMutex& CNetServiceEventsThread::sNetServicesEventsThreadMutex = *new CMutex;
CThread* CNetServiceEventsThread::sNetServicesEventsThread = nullptr;

CNetServiceEventsThread::CNetServiceEventsThread()
    : CThread(&sNetServicesEventsThread, &sNetServicesEventsThreadMutex, nullptr)
{
}

void CNetServiceEventsThread::MakeSure()
{
    StMutexLocker const lock(sNetServicesEventsThreadMutex);
    if (sNetServicesEventsThread) return;
    sNetServicesEventsThread = new CNetServiceEventsThread;
    try {
        sNetServicesEventsThread->mImp->Start();
    } catch (...) {
        delete std::exchange(sNetServicesEventsThread, nullptr);
        throw;
    }
}

void CNetServiceEventsThread::AddRef(DNSServiceRef ref)
{
    StMutexLocker const lock(sNetServicesEventsThreadMutex);
    if (sNetServicesEventsThread)
        static_cast<CNetServiceEventsThread*>(sNetServicesEventsThread)->_AddRef(ref);
}

void CNetServiceEventsThread::RemoveRef(DNSServiceRef ref)
{
    {
        StMutexLocker const lock(sNetServicesEventsThreadMutex);
        if (sNetServicesEventsThread)
            static_cast<CNetServiceEventsThread*>(sNetServicesEventsThread)->_RemoveRef(ref);
    }
    // It isn't picked any more, but it may have been picked before.
    sProcessing.WaitFor(ref);
}

unsigned long long CNetServiceEventsThread::GetTurn()
{
    return sProcessing.GetTurn();
}

void CNetServiceEventsThread::WaitForTurn(unsigned long long turn)
{
    sProcessing.WaitFor(turn);
}

void CNetServiceEventsThread::_AddRef(DNSServiceRef ref)
{
    StMutexLocker const lock(mMutex);
    mRefs.push_back(ref);
}

void CNetServiceEventsThread::_RemoveRef(DNSServiceRef ref)
{
    StMutexLocker const lock(mMutex);
    std::erase(mRefs, ref);
}

void* CNetServiceEventsThread::Run()
{
    std::vector<int> readable;
    for (;;) {
        std::vector<int> const sockets = GetSockets();
        if (sockets.empty()) {
            CThread::Sleep(kIdleSeconds);
        } else if (!WaitForSockets(sockets, readable) || !ProcessReady(readable)) {
            return nullptr;
        }
    }
}

// Each once, in ascending order: references may share one.
std::vector<int> CNetServiceEventsThread::GetSockets()
{
    std::vector<int> sockets;
    StMutexLocker const lock(mMutex);
    for (DNSServiceRef const ref : mRefs)
        sockets.push_back(NetServicePlatform().GetSocket(ref));
    std::sort(sockets.begin(), sockets.end());
    sockets.erase(std::unique(sockets.begin(), sockets.end()), sockets.end());
    return sockets;
}

// By index, and with a fresh look at the size each time, since callbacks add and remove references.
bool CNetServiceEventsThread::ProcessReady(std::vector<int> const& readable)
{
    DNSServiceRef ref = nullptr;
    for (std::size_t i = 0; PickReady(i, readable, ref); ++i) {
        if (!ref) continue;
        StProcessing const processing;
        if (NetServicePlatform().Process(ref) != kNetServiceNoError) return false;
    }
    return true;
}

// False behind the last reference. `ref` is null where there is nothing to process.
bool CNetServiceEventsThread::PickReady(std::size_t index,
                                        std::vector<int> const& readable,
                                        DNSServiceRef& ref)
{
    StMutexLocker const lock(mMutex);
    ref = nullptr;
    if (index >= mRefs.size()) return false;
    int const socket = NetServicePlatform().GetSocket(mRefs[index]);
    // Asked again, since the number may have passed to another reference meanwhile, and processing
    // one that has nothing to say would block for as long as that lasts.
    if (std::binary_search(readable.begin(), readable.end(), socket) && IsReadable(socket)) {
        ref = mRefs[index];
        sProcessing.Begin(ref);
    }
    return true;
}
