#include "net/platform/CBasicNetServicePlatform.h"

#include <dns_sd.h>

static_assert(kNetServiceNoError == kDNSServiceErr_NoError);
static_assert(kNetServiceMoreComing == kDNSServiceFlagsMoreComing);
static_assert(kNetServiceAdd == kDNSServiceFlagsAdd);
static_assert(kNetServiceAnyInterface == kDNSServiceInterfaceIndexAny);
static_assert(kNetServiceLocalOnly == kDNSServiceInterfaceIndexLocalOnly);

namespace {

// Each reference has a connection and a socket of its own.
class CNetServicePlatformMacOSX final : public CBasicNetServicePlatform
{
public:
    DNSServiceErrorType Register(DNSServiceRef* ref,
                                 NetServiceRegistration const& registration,
                                 NetServiceRegisterReply* reply,
                                 void* context) override
    {
        return DNSServiceRegister(ref, 0, registration.mInterfaceIndex, registration.mName,
                                  registration.mType, registration.mDomain, registration.mHost,
                                  registration.mPort, registration.mTXTLength, registration.mTXT,
                                  reply, context);
    }

    DNSServiceErrorType Browse(DNSServiceRef* ref,
                               std::uint32_t interfaceIndex,
                               char const* type,
                               char const* domain,
                               NetServiceBrowseReply* reply,
                               void* context) override
    {
        return DNSServiceBrowse(ref, 0, interfaceIndex, type, domain, reply, context);
    }

    DNSServiceErrorType Resolve(DNSServiceRef* ref,
                                NetServiceInstance const& instance,
                                NetServiceResolveReply* reply,
                                void* context) override
    {
        return DNSServiceResolve(ref, 0, instance.mInterfaceIndex, instance.mName, instance.mType,
                                 instance.mDomain, reply, context);
    }

    int GetSocket(DNSServiceRef ref) override { return DNSServiceRefSockFD(ref); }

    DNSServiceErrorType Process(DNSServiceRef ref) override { return DNSServiceProcessResult(ref); }

    void Release(DNSServiceRef ref) override { DNSServiceRefDeallocate(ref); }
};

}  // namespace

CBasicNetServicePlatform* NewNetServicePlatform()
{
    return new CNetServicePlatformMacOSX;
}
