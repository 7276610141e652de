// The one thread on which all of service discovery is heard of.
#pragma once

#include <vector>

#include "concurrency/CMutex.h"
#include "concurrency/CThread.h"
#include "net/platform/CBasicNetServicePlatform.h"

/// Waits on the sockets of all references and processes those that have something to say. It runs
/// until a fatal error; `MakeSure` then starts another one, which knows none of the former's
/// references. There is no wake-up: a reference that is added from outside is waited on within a
/// second.
class CNetServiceEventsThread final : public CThread
{
public:
    /// Starts the thread if there is none. Passes on what `CThread` throws if that fails.
    static void MakeSure();
    /// Has the events of `ref` processed, until `RemoveRef`. Nothing happens without the thread.
    static void AddRef(DNSServiceRef ref);
    /// Ends that. When it returns, no other thread processes `ref`, so that it can be released. It
    /// waits for callbacks, so no lock may be held that one of them takes.
    static void RemoveRef(DNSServiceRef ref);
    /// The number of the reference's turn in which a callback is called, 0 on any other thread. No
    /// two turns have the same.
    static unsigned long long GetTurn();
    /// Returns when that turn is over; at once on the thread itself.
    static void WaitForTurn(unsigned long long turn);

    void* Run() override;

    /// Guards the pointer to the thread. Taken before `mMutex`; neither is held in a callback. On
    /// the heap, since the thread runs on when the process tidies up at its end.
    static CMutex& sNetServicesEventsThreadMutex;
    static CThread* sNetServicesEventsThread;  // guarded by sNetServicesEventsThreadMutex

private:
    CNetServiceEventsThread();

public:
    // Behind those of `CThread`, and called by the static ones.

    virtual void _AddRef(DNSServiceRef ref);
    virtual void _RemoveRef(DNSServiceRef ref);

private:
    std::vector<int> GetSockets();
    bool ProcessReady(std::vector<int> const& readable);
    bool PickReady(std::size_t index, std::vector<int> const& readable, DNSServiceRef& ref);

    CMutex mMutex;
    std::vector<DNSServiceRef> mRefs;  // guarded by mMutex
};
