#include "net/platform/CBasicNetServicePlatform.h"

#include <initializer_list>
#include <string>
#include <utility>

#include "concurrency/CMutex.h"
#include "concurrency/StMutexLocker.h"
#include "concurrency/StMutexUnlocker.h"
#include "net/platform/linux/AvahiReferences.h"
#include "net/platform/linux/CAvahiConnection.h"
#include "net/platform/linux/ServiceNames.h"
#include "text/CUTFConverter.h"

namespace {

// What this thread's callback is being told to have gone.
thread_local RemovedService const* sRemoved = nullptr;

// The bus ends the process for anything else. Null is text.
bool AreTexts(std::initializer_list<char const*> texts)
{
    std::u16string ignored;
    for (char const* const text : texts) {
        if (text && !CUTFConverter::ConvertUTF8toUTF16(text, ignored, CUTFConverter::kStrictMode))
            return false;
    }
    return true;
}

// All references live in one connection, which libavahi lets one thread use at a time.
class CNetServicePlatformLinux final : public CBasicNetServicePlatform
{
public:
    DNSServiceErrorType Register(DNSServiceRef* ref,
                                 NetServiceRegistration const& registration,
                                 NetServiceRegisterReply* reply,
                                 void* context) override
    {
        AvahiIfIndex avahiInterface = 0;
        if (!registration.mType ||
            !ToAvahiInterface(registration.mInterfaceIndex, avahiInterface) ||
            !AreTexts({registration.mName, registration.mType, registration.mDomain,
                       registration.mHost})) {
            return kNetServiceBadParameter;
        }
        StMutexLocker const lock(mMutex);
        if (!mConnection.Connect()) return kNetServiceNotRunning;
        return Add(ref, std::make_unique<CAvahiRegistration>(mConnection, registration,
                                                             avahiInterface, reply, context));
    }

    DNSServiceErrorType Browse(DNSServiceRef* ref,
                               std::uint32_t interfaceIndex,
                               char const* type,
                               char const* domain,
                               NetServiceBrowseReply* reply,
                               void* context) override
    {
        AvahiIfIndex avahiInterface = 0;
        if (!type || !ToAvahiInterface(interfaceIndex, avahiInterface) || !AreTexts({type, domain}))
            return kNetServiceBadParameter;
        StMutexLocker const lock(mMutex);
        if (!mConnection.Connect()) return kNetServiceNotRunning;
        return Add(ref, std::make_unique<CAvahiBrowse>(mConnection, reply, context), avahiInterface,
                   type, domain);
    }

    DNSServiceErrorType Resolve(DNSServiceRef* ref,
                                NetServiceInstance const& instance,
                                NetServiceResolveReply* reply,
                                void* context) override
    {
        ServiceKey key{0, instance.mName, WithoutDot(instance.mType), WithoutDot(instance.mDomain)};
        if (!ToAvahiInterface(instance.mInterfaceIndex, key.mInterface) ||
            !AreTexts({instance.mName, instance.mType, instance.mDomain})) {
            return kNetServiceBadParameter;
        }
        StMutexLocker const lock(mMutex);
        if (!mConnection.Connect()) return kNetServiceNotRunning;
        bool const isRemoved = sRemoved && sRemoved->mKey == key;
        auto resolve = std::make_unique<CAvahiResolve>(mConnection, std::move(key), reply, context);
        // Nobody on the network would say anything of it.
        if (isRemoved)
            resolve->Answer(sRemoved->mFacts);
        else
            mConnection.BeginResolve(resolve.get());
        *ref = resolve.get();
        mConnection.Add(std::move(resolve));
        return kNetServiceNoError;
    }

    // The one descriptor stays for good, so no lock is needed while there are references.
    int GetSocket(DNSServiceRef /*ref*/) override { return mConnection.GetSocket(); }

    // Of what is heard only this reference's part is told; the descriptor stays readable for the
    // rest.
    DNSServiceErrorType Process(DNSServiceRef ref) override
    {
        StMutexLocker const lock(mMutex);
        mConnection.Run();
        for (std::size_t count = ref->CountEvents(); count > 0; --count) {
            if (!mConnection.Has(ref) || !ref->HasEvents()) break;
            _DNSServiceRef_t::Event const event = ref->TakeEvent();
            StMutexUnlocker const unlocked(mMutex);
            sRemoved = event.mRemoved.get();
            event.mCall(event.mFlags);
            sRemoved = nullptr;
        }
        return kNetServiceNoError;
    }

    void Release(DNSServiceRef ref) override
    {
        StMutexLocker const lock(mMutex);
        mConnection.Remove(ref);
    }

private:
    // A reference that can't be started goes at once.
    template <class Reference, class... Arguments>
    DNSServiceErrorType
    Add(DNSServiceRef* ref, std::unique_ptr<Reference> reference, Arguments... arguments)
    {
        Reference* const added = reference.get();
        mConnection.Add(std::move(reference));
        if (!added->Start(arguments...)) {
            mConnection.Remove(added);
            return kNetServiceUnknownError;
        }
        *ref = added;
        return kNetServiceNoError;
    }

    CMutex mMutex;
    CAvahiConnection mConnection;  // guarded by mMutex, but for its socket
};

}  // namespace

CBasicNetServicePlatform* NewNetServicePlatform()
{
    return new CNetServicePlatformLinux;
}
