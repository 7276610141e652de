#include "net/CNetServiceImpl.h"

#include <limits>
#include <utility>

#include <arpa/inet.h>

#include "concurrency/CThread.h"
#include "concurrency/StMutexLocker.h"
#include "marl/amortizedmemblock.h"
#include "net/CNetServiceEventsThread.h"
#include "net/CNetServiceListener.h"
#include "net/NetServiceText.h"
#include "net/NetServiceWhere.h"

namespace {

constexpr double kPauseSeconds = 2;

}  // namespace

CNetServiceImpl::CNetServiceImpl(CNetService* owner)
    : mOwner(owner)
{
    CNetServiceEventsThread::MakeSure();
}

CNetServiceImpl::~CNetServiceImpl()
{
    Unregister_();
}

bool CNetServiceImpl::RegisterService(char const* name,
                                      char const* type,
                                      unsigned short port,
                                      char const* host,
                                      std::vector<std::pair<std::string, std::string>> const* txt,
                                      bool allInterfaces,
                                      bool anyDomain,
                                      CNetServiceListener* listener)
{
    if (IsRegistered()) {
        UnregisterService();
        // Kept on purpose: time for the news to get about, whatever it takes.
        CThread::Sleep(kPauseSeconds);
    }
    amortizedmemblock record;
    if (txt) AppendTXTRecord(*txt, record);
    if (record.size() > std::numeric_limits<std::uint16_t>::max()) return false;

    // Held until the thread knows the reference, so that nobody releases it in between.
    StMutexLocker const lock(mMutex);
    mListener = listener;
    NetServiceRegistration const registration{
        InterfaceIndexOf(allInterfaces),
        name,
        type,
        DomainOf(anyDomain),
        host,
        htons(port),
        static_cast<std::uint16_t>(record.size()),
        record.size() == 0 ? nullptr : record.data(),
    };
    DNSServiceErrorType const error = NetServicePlatform().Register(
        &mServiceRef, registration, CNetServiceRegisterCallback, this);
    if (mServiceRef) CNetServiceEventsThread::AddRef(mServiceRef);
    return error == kNetServiceNoError;
}

void CNetServiceImpl::UnregisterService()
{
    Unregister_();
}

bool CNetServiceImpl::IsRegistered()
{
    StMutexLocker const lock(mMutex);
    return mServiceRef != nullptr;
}

void CNetServiceImpl::Unregister_()
{
    DNSServiceRef taken = nullptr;
    unsigned long long lastTurn = 0;
    {
        StMutexLocker const lock(mMutex);
        taken = std::exchange(mServiceRef, nullptr);
        lastTurn = mLastTurn;
    }
    if (taken) {
        CNetServiceEventsThread::RemoveRef(taken);
        NetServicePlatform().Release(taken);
    }
    // Where the listener has taken the reference, it may be on its way out still.
    CNetServiceEventsThread::WaitForTurn(lastTurn);
}

void CNetServiceRegisterCallback(DNSServiceRef /*ref*/,
                                 DNSServiceFlags /*flags*/,
                                 DNSServiceErrorType error,
                                 char const* /*name*/,
                                 char const* /*type*/,
                                 char const* /*domain*/,
                                 void* context)
{
    auto* const service = static_cast<CNetServiceImpl*>(context);
    CNetServiceListener* listener = nullptr;
    {
        StMutexLocker const lock(service->mMutex);
        service->mLastTurn = CNetServiceEventsThread::GetTurn();
        listener = service->mListener;
    }
    // Nothing behind it: the listener may delete the service.
    if (listener) listener->ServiceRegistered(service->mOwner, error == kNetServiceNoError);
}
