// The browse behind a `CNetServiceBrowser`, and the resolves that it starts.
#pragma once

#include <vector>

#include "concurrency/CMutex.h"
#include "net/CBasiCNetServiceBrowserImpl.h"
#include "net/NetServiceText.h"
#include "net/platform/CBasicNetServicePlatform.h"

class CNetServiceBrowser;

class CNetServiceBrowserImpl final : public CBasiCNetServiceBrowserImpl
{
public:
    /// `owner` is what the listener is told; it outlives this.
    explicit CNetServiceBrowserImpl(CNetServiceBrowser* owner);
    ~CNetServiceBrowserImpl() override;

    bool BrowseService(char const* type,
                       bool allInterfaces,
                       bool anyDomain,
                       CNetServiceBrowserListener* listener) override;
    void StopBrowsing() override;

private:
    friend NetServiceBrowseReply CNetServiceBrowseCallback;
    friend NetServiceResolveReply CNetServiceResolveCallback;

    // A resolve under way, or one that was when browsing stopped.
    struct ResolveRef
    {
        DNSServiceRef mRef;
        DNSServiceFlags mFlags;    // of the browse event that started it
        bool mIsReleased = false;  // or about to be, by the one who set this
    };

    // What is known of a resolve when its answer comes.
    struct Answered
    {
        CNetServiceBrowserListener* mListener;
        bool mIsAdded;
        bool mIsStopped;
    };

    void Stop_();
    std::vector<DNSServiceRef> TakeResolves();
    CNetServiceBrowserListener* BeginBrowseEvent(DNSServiceRef browse);
    void AddResolve(DNSServiceRef ref, DNSServiceFlags flags);
    // These two answer the listener if it is to be told that a batch is done.
    CNetServiceBrowserListener* EndBrowseEvent(DNSServiceFlags flags);
    CNetServiceBrowserListener* EndAnswer(DNSServiceRef ref);
    Answered BeginAnswer(DNSServiceRef ref);
    std::vector<ResolveRef>::iterator FindResolve(DNSServiceRef ref);
    CNetServiceBrowserListener* GetListenerIfBatchDone() const;

    CNetServiceBrowser* mOwner;                       // not owned
    CNetServiceBrowserListener* mListener = nullptr;  // not owned, may be null
    // All from here on, and mListener, are guarded by mMutex.
    std::vector<ResolveRef> mResolveRefs;
    bool mBatchComplete = true;
    int mPendingResolves = 0;
    DNSServiceRef mBrowseRef = nullptr;  // released by who takes it
    unsigned long long mLastTurn = 0;    // of the last callback, which is waited for
    CMutex mMutex;                       // never held in a callback
};

/// What the system calls; `context` is the `CNetServiceBrowserImpl`.
NetServiceBrowseReply CNetServiceBrowseCallback;
NetServiceResolveReply CNetServiceResolveCallback;
