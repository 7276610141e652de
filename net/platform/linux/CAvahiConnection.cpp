#include "net/platform/linux/CAvahiConnection.h"

#include <algorithm>
#include <utility>

#include "net/platform/linux/AvahiLibrary.h"
#include "net/platform/linux/AvahiReferences.h"

namespace {

// Leaves the most of the daemon's objects for what lasts.
constexpr std::size_t kMostResolves = 200;

}  // namespace

CAvahiConnection::~CAvahiConnection()
{
    mRefs.clear();
    Disconnect();
}

bool CAvahiConnection::Connect()
{
    // Nobody has listened to the daemon meanwhile.
    if (mClient && mRefs.empty()) mPoll->Run();
    if (mIsLost) Disconnect();
    if (mClient) return true;
    if (!avahi::library.IsThere()) return false;
    if (!mPoll) mPoll = std::make_unique<CAvahiPoll>();
    if (!mPoll->IsGood()) {
        mPoll.reset();
        return false;
    }
    int error = 0;
    mClient =
        avahi::client_new(mPoll->GetFunctions(), AvahiClientFlags{}, ClientCallback, this, &error);
    mIsLost = false;
    if (!mClient) mIsRunning = false;
    return mClient != nullptr;
}

void CAvahiConnection::Run()
{
    mPoll->Run();
    if (mIsLost) Disconnect();
}

void CAvahiConnection::Add(std::unique_ptr<_DNSServiceRef_t> ref)
{
    mRefs.push_back(std::move(ref));
}

bool CAvahiConnection::Has(DNSServiceRef ref) const
{
    return std::any_of(mRefs.begin(), mRefs.end(),
                       [ref](auto const& owned) { return owned.get() == ref; });
}

void CAvahiConnection::Remove(DNSServiceRef ref)
{
    std::erase_if(mRefs, [ref](auto const& owned) { return owned.get() == ref; });
}

void CAvahiConnection::CountEvents(int change)
{
    mEvents += change;
    mPoll->SetSignalled(mEvents > 0);
}

bool CAvahiConnection::IsNameTaken(CAvahiRegistration const& registration) const
{
    return std::any_of(mRegistrations.begin(), mRegistrations.end(), [&](auto const* other) {
        return other != &registration && other->HasNameOf(registration);
    });
}

void CAvahiConnection::Learn(ServiceKey const& key, ServiceFacts const& facts)
{
    for (CAvahiBrowse* const browse : mBrowses)
        browse->Learn(key, facts);
}

void CAvahiConnection::BeginResolve(CAvahiResolve* resolve)
{
    if (mResolving.size() < kMostResolves) {
        mResolving.push_back(resolve);
        resolve->Start();
    } else {
        mResolvesToCome.push_back(resolve);
    }
}

void CAvahiConnection::EndResolve(CAvahiResolve* resolve)
{
    std::erase(mResolvesToCome, resolve);
    if (std::erase(mResolving, resolve) == 0 || mResolvesToCome.empty()) return;
    CAvahiResolve* const next = mResolvesToCome.front();
    mResolvesToCome.pop_front();
    BeginResolve(next);
}

void CAvahiConnection::AbandonResolves(ServiceKey const& key)
{
    for (CAvahiResolve* const resolve : mResolving)
        resolve->Abandon(key);
    for (CAvahiResolve* const resolve : mResolvesToCome)
        resolve->Abandon(key);
}

void CAvahiConnection::ClientCallback(AvahiClient* /*client*/,
                                      AvahiClientState state,
                                      void* userData)
{
    static_cast<CAvahiConnection*>(userData)->SetState(state);
}

// Also within avahi_client_new. The client can't be freed in here.
void CAvahiConnection::SetState(AvahiClientState state)
{
    bool const wasRunning = std::exchange(mIsRunning, state == AVAHI_CLIENT_S_RUNNING);
    if (state == AVAHI_CLIENT_FAILURE) {
        mIsLost = true;
    } else if (mClient && mIsRunning != wasRunning) {
        for (auto const& ref : mRefs)
            ref->SetRunning(mIsRunning);
    }
}

// What is left of references is told that it failed; the next one connects anew.
void CAvahiConnection::Disconnect()
{
    if (!mClient) return;
    for (auto const& ref : mRefs)
        ref->Lose();
    avahi::client_free(mClient);
    mClient = nullptr;
    mIsRunning = false;
    mIsLost = false;
}
