// The registration behind a `CNetService`.
#pragma once

#include "concurrency/CMutex.h"
#include "net/CBasiCNetServiceImpl.h"
#include "net/platform/CBasicNetServicePlatform.h"

class CNetService;

class CNetServiceImpl final : public CBasiCNetServiceImpl
{
public:
    /// `owner` is what the listener is told; it outlives this.
    explicit CNetServiceImpl(CNetService* owner);
    ~CNetServiceImpl() override;

    bool RegisterService(char const* name,
                         char const* type,
                         unsigned short port,
                         char const* host,
                         std::vector<std::pair<std::string, std::string>> const* txt,
                         bool allInterfaces,
                         bool anyDomain,
                         CNetServiceListener* listener) override;
    void UnregisterService() override;

private:
    friend NetServiceRegisterReply CNetServiceRegisterCallback;

    bool IsRegistered();
    void Unregister_();

    CNetService* mOwner;                       // not owned
    CNetServiceListener* mListener = nullptr;  // not owned, may be null; guarded by mMutex
    DNSServiceRef mServiceRef = nullptr;       // released by who takes it; guarded by mMutex
    unsigned long long mLastTurn = 0;          // of the last callback; guarded by mMutex
    CMutex mMutex;                             // never held in a callback
};

/// What the system calls; `context` is the `CNetServiceImpl`.
NetServiceRegisterReply CNetServiceRegisterCallback;
