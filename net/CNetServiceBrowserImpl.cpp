#include "net/CNetServiceBrowserImpl.h"

#include <algorithm>
#include <utility>

#include <arpa/inet.h>

#include "concurrency/StMutexLocker.h"
#include "net/CNetServiceBrowserListener.h"
#include "net/CNetServiceEventsThread.h"
#include "net/NetServiceWhere.h"

namespace {

// The browse whose listener this thread is calling; null again if the listener deletes it.
thread_local CNetServiceBrowserImpl const* sCalling = nullptr;

void RemoveAndRelease(DNSServiceRef ref)
{
    CNetServiceEventsThread::RemoveRef(ref);
    NetServicePlatform().Release(ref);
}

}  // namespace

CNetServiceBrowserImpl::CNetServiceBrowserImpl(CNetServiceBrowser* owner)
    : mOwner(owner)
{
    CNetServiceEventsThread::MakeSure();
}

CNetServiceBrowserImpl::~CNetServiceBrowserImpl()
{
    Stop_();
    if (sCalling == this) sCalling = nullptr;
}

bool CNetServiceBrowserImpl::BrowseService(char const* type,
                                           bool allInterfaces,
                                           bool anyDomain,
                                           CNetServiceBrowserListener* listener)
{
    StopBrowsing();

    // Held until the thread knows the reference, so that nobody releases it in between.
    StMutexLocker const lock(mMutex);
    mListener = listener;
    DNSServiceErrorType const error =
        NetServicePlatform().Browse(&mBrowseRef, InterfaceIndexOf(allInterfaces), type,
                                    DomainOf(anyDomain), CNetServiceBrowseCallback, this);
    if (mBrowseRef) CNetServiceEventsThread::AddRef(mBrowseRef);
    return error == kNetServiceNoError;
}

void CNetServiceBrowserImpl::StopBrowsing()
{
    Stop_();
}

// The browse first: once nobody processes it, no resolve is started any more. Where somebody else
// has taken a reference, its callback may be on its way out still.
void CNetServiceBrowserImpl::Stop_()
{
    DNSServiceRef browse = nullptr;
    {
        StMutexLocker const lock(mMutex);
        browse = std::exchange(mBrowseRef, nullptr);
    }
    if (browse) RemoveAndRelease(browse);
    for (DNSServiceRef const ref : TakeResolves())
        RemoveAndRelease(ref);

    unsigned long long lastTurn = 0;
    {
        StMutexLocker const lock(mMutex);
        lastTurn = mLastTurn;
    }
    CNetServiceEventsThread::WaitForTurn(lastTurn);
}

// Those that nobody else releases.
//
// Kept on purpose: entries and mPendingResolves stay as they are, so that a batch in which resolves
// were stopped is never told to be done, in a later browse of this object neither.
std::vector<DNSServiceRef> CNetServiceBrowserImpl::TakeResolves()
{
    std::vector<DNSServiceRef> taken;
    StMutexLocker const lock(mMutex);
    for (ResolveRef& resolve : mResolveRefs) {
        if (!std::exchange(resolve.mIsReleased, true)) taken.push_back(resolve.mRef);
    }
    return taken;
}

// Null also if the browse has been stopped.
CNetServiceBrowserListener* CNetServiceBrowserImpl::BeginBrowseEvent(DNSServiceRef browse)
{
    StMutexLocker const lock(mMutex);
    mLastTurn = CNetServiceEventsThread::GetTurn();
    return browse == mBrowseRef ? mListener : nullptr;
}

void CNetServiceBrowserImpl::AddResolve(DNSServiceRef ref, DNSServiceFlags flags)
{
    StMutexLocker const lock(mMutex);
    ++mPendingResolves;
    CNetServiceEventsThread::AddRef(ref);
    // What was released may have left its address to this one.
    std::erase_if(mResolveRefs, [ref](ResolveRef const& old) { return old.mRef == ref; });
    mResolveRefs.push_back({ref, flags});
}

CNetServiceBrowserListener* CNetServiceBrowserImpl::EndBrowseEvent(DNSServiceFlags flags)
{
    StMutexLocker const lock(mMutex);
    mBatchComplete = (flags & kNetServiceMoreComing) == 0;
    return GetListenerIfBatchDone();
}

CNetServiceBrowserImpl::Answered CNetServiceBrowserImpl::BeginAnswer(DNSServiceRef ref)
{
    StMutexLocker const lock(mMutex);
    --mPendingResolves;
    mLastTurn = CNetServiceEventsThread::GetTurn();
    auto const resolve = FindResolve(ref);
    if (resolve == mResolveRefs.end()) return {mListener, false, false};
    bool const isAdded = (resolve->mFlags & kNetServiceAdd) != 0;
    return {mListener, isAdded, resolve->mIsReleased};
}

// A resolve ends with its first answer, unless the listener has ended it already.
CNetServiceBrowserListener* CNetServiceBrowserImpl::EndAnswer(DNSServiceRef ref)
{
    bool isReleased = false;
    {
        StMutexLocker const lock(mMutex);
        auto const resolve = FindResolve(ref);
        if (resolve != mResolveRefs.end()) {
            isReleased = resolve->mIsReleased;
            mResolveRefs.erase(resolve);
        }
    }
    if (!isReleased) RemoveAndRelease(ref);

    StMutexLocker const lock(mMutex);
    return GetListenerIfBatchDone();
}

// Both with mMutex held.

std::vector<CNetServiceBrowserImpl::ResolveRef>::iterator
CNetServiceBrowserImpl::FindResolve(DNSServiceRef ref)
{
    return std::find_if(mResolveRefs.begin(), mResolveRefs.end(),
                        [ref](ResolveRef const& resolve) { return resolve.mRef == ref; });
}

CNetServiceBrowserListener* CNetServiceBrowserImpl::GetListenerIfBatchDone() const
{
    return mBatchComplete && mPendingResolves == 0 ? mListener : nullptr;
}

// Removals are resolved like additions, since the listener is told of both in the same way.
void CNetServiceBrowseCallback(DNSServiceRef ref,
                               DNSServiceFlags flags,
                               std::uint32_t interfaceIndex,
                               DNSServiceErrorType error,
                               char const* name,
                               char const* type,
                               char const* domain,
                               void* context)
{
    auto* const browser = static_cast<CNetServiceBrowserImpl*>(context);
    if (error != kNetServiceNoError || !browser->BeginBrowseEvent(ref)) return;

    DNSServiceRef resolve = nullptr;
    DNSServiceErrorType const resolveError = NetServicePlatform().Resolve(
        &resolve, {interfaceIndex, name, type, domain}, CNetServiceResolveCallback, context);
    if (resolveError == kNetServiceNoError && resolve) browser->AddResolve(resolve, flags);

    // Nothing behind it: the listener may delete the browser.
    CNetServiceBrowserListener* const listener = browser->EndBrowseEvent(flags);
    if (listener) listener->BrowseBatchDone(browser->mOwner);
}

void CNetServiceResolveCallback(DNSServiceRef ref,
                                DNSServiceFlags /*flags*/,
                                std::uint32_t interfaceIndex,
                                DNSServiceErrorType error,
                                char const* fullName,
                                char const* host,
                                std::uint16_t port,
                                std::uint16_t txtLength,
                                unsigned char const* txt,
                                void* context)
{
    auto* const browser = static_cast<CNetServiceBrowserImpl*>(context);
    CNetServiceBrowserImpl::Answered const answered = browser->BeginAnswer(ref);
    if (answered.mIsStopped) return;  // and released by who stopped it

    if (error == kNetServiceNoError && answered.mListener) {
        NetServicePairs pairs = ParseTXTRecord(txt, txtLength);
        std::string const name = PlainServiceName(fullName);
        sCalling = browser;
        answered.mListener->ServiceChanged(browser->mOwner, answered.mIsAdded, name.c_str(), host,
                                           ntohs(port), &pairs, interfaceIndex);
        bool const isDeleted = std::exchange(sCalling, nullptr) == nullptr;
        if (isDeleted) return;
    }

    // Nothing behind it: the listener may delete the browser.
    CNetServiceBrowserListener* const listener = browser->EndAnswer(ref);
    if (listener) listener->BrowseBatchDone(browser->mOwner);
}
