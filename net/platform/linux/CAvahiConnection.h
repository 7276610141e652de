// The one connection to the Avahi daemon that all references share.
//
// It stays open when the last reference goes, and costs nothing then: the daemon speaks only of
// what it was asked for. For one thread at a time: whoever owns it has a lock for that. Nothing
// here calls a host.
#pragma once

#include <deque>
#include <memory>
#include <vector>

#include <avahi-client/client.h>

#include "net/platform/CBasicNetServicePlatform.h"
#include "net/platform/linux/CAvahiPoll.h"

class CAvahiBrowse;
class CAvahiRegistration;
class CAvahiResolve;
struct ServiceFacts;
struct ServiceKey;

class CAvahiConnection
{
public:
    CAvahiConnection() = default;
    CAvahiConnection(CAvahiConnection const&) = delete;
    CAvahiConnection& operator=(CAvahiConnection const&) = delete;
    ~CAvahiConnection();

    /// Connects if that isn't done yet. False if there is no daemon.
    bool Connect();

    /// Null if not connected.
    AvahiClient* GetClient() const { return mClient; }

    /// The daemon has settled the name of this machine, so that services can be published.
    bool IsRunning() const { return mIsRunning; }

    /// Can be read when `Run` has something to do, or an event waits for its callback.
    int GetSocket() const { return mPoll->GetDescriptor(); }

    /// Hears what the daemon has to say, which becomes events of the references.
    void Run();

    void Add(std::unique_ptr<_DNSServiceRef_t> ref);
    bool Has(DNSServiceRef ref) const;
    void Remove(DNSServiceRef ref);

    /// How many events wait, over all references.
    void CountEvents(int change);

    // For the references.

    void AddRegistration(CAvahiRegistration* registration)
    {
        mRegistrations.push_back(registration);
    }

    void RemoveRegistration(CAvahiRegistration* registration)
    {
        std::erase(mRegistrations, registration);
    }

    /// Another registration of this process has the name. The daemon itself sees nothing wrong in
    /// two that are the same in all.
    bool IsNameTaken(CAvahiRegistration const& registration) const;

    void AddBrowse(CAvahiBrowse* browse) { mBrowses.push_back(browse); }

    void RemoveBrowse(CAvahiBrowse* browse) { std::erase(mBrowses, browse); }

    /// Tells all browses what a service is about.
    void Learn(ServiceKey const& key, ServiceFacts const& facts);

    /// Starts `resolve` now or when others have ended: the daemon knows only about a thousand
    /// objects a connection.
    void BeginResolve(CAvahiResolve* resolve);
    void EndResolve(CAvahiResolve* resolve);
    /// A service went: who resolves it needn't wait for an answer.
    void AbandonResolves(ServiceKey const& key);

private:
    static void ClientCallback(AvahiClient* client, AvahiClientState state, void* userData);

    void SetState(AvahiClientState state);
    void Disconnect();

    std::unique_ptr<CAvahiPoll> mPoll;
    AvahiClient* mClient = nullptr;  // owned
    bool mIsRunning = false;
    bool mIsLost = false;  // the client is of no use any more
    int mEvents = 0;
    std::vector<std::unique_ptr<_DNSServiceRef_t>> mRefs;
    std::vector<CAvahiRegistration*> mRegistrations;  // not owned
    std::vector<CAvahiBrowse*> mBrowses;              // not owned
    std::vector<CAvahiResolve*> mResolving;           // not owned
    std::deque<CAvahiResolve*> mResolvesToCome;       // not owned
};
