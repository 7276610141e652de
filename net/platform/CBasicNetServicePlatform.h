// What service discovery needs of the system: the few calls of DNS-SD, in the shape that the
// desktop platform gives them.
//
// Operations never throw and decide nothing. Any thread may call, but a reference is released while
// no other thread is in an operation with it. Text is UTF-8, ends with a null, and is the caller's.
#pragma once

#include <cstdint>

// The same declarations as in the desktop platform's own header, so that both can be read together.
typedef struct _DNSServiceRef_t* DNSServiceRef;
typedef std::uint32_t DNSServiceFlags;
typedef std::int32_t DNSServiceErrorType;

constexpr DNSServiceErrorType kNetServiceNoError = 0;
/// Another event of the same browse follows at once.
constexpr DNSServiceFlags kNetServiceMoreComing = 0x1;
/// The service came; without it, it went.
constexpr DNSServiceFlags kNetServiceAdd = 0x2;
constexpr std::uint32_t kNetServiceAnyInterface = 0;
/// Known on this machine alone.
constexpr std::uint32_t kNetServiceLocalOnly = 0xFFFFFFFF;

/// A registration took effect (`error` 0) or failed, also some time after it took effect.
using NetServiceRegisterReply = void(DNSServiceRef ref,
                                     DNSServiceFlags flags,
                                     DNSServiceErrorType error,
                                     char const* name,
                                     char const* type,
                                     char const* domain,
                                     void* context);
/// A service came or went.
using NetServiceBrowseReply = void(DNSServiceRef ref,
                                   DNSServiceFlags flags,
                                   std::uint32_t interfaceIndex,
                                   DNSServiceErrorType error,
                                   char const* name,
                                   char const* type,
                                   char const* domain,
                                   void* context);
/// What a service is about. `fullName` is name, type and domain with dots between, those within the
/// name escaped (RFC 1035, 5.1). `port` is in network byte order, `txt` a TXT record's content.
using NetServiceResolveReply = void(DNSServiceRef ref,
                                    DNSServiceFlags flags,
                                    std::uint32_t interfaceIndex,
                                    DNSServiceErrorType error,
                                    char const* fullName,
                                    char const* host,
                                    std::uint16_t port,
                                    std::uint16_t txtLength,
                                    unsigned char const* txt,
                                    void* context);

/// What is to be registered. Null for `mName` is the machine's own, for `mDomain` the default ones,
/// for `mHost` this machine.
struct NetServiceRegistration
{
    std::uint32_t mInterfaceIndex;
    char const* mName;
    char const* mType;
    char const* mDomain;
    char const* mHost;
    std::uint16_t mPort;  ///< network byte order
    std::uint16_t mTXTLength;
    void const* mTXT;  ///< null if the length is 0
};

/// Which service is to be resolved, as a browse told of it.
struct NetServiceInstance
{
    std::uint32_t mInterfaceIndex;
    char const* mName;
    char const* mType;
    char const* mDomain;
};

class CBasicNetServicePlatform
{
public:
    CBasicNetServicePlatform() = default;
    CBasicNetServicePlatform(CBasicNetServicePlatform const&) = delete;
    CBasicNetServicePlatform& operator=(CBasicNetServicePlatform const&) = delete;
    virtual ~CBasicNetServicePlatform() = default;

    // The first three make a reference, or leave `*ref` as it is and answer an error. A callback
    // comes within `Process` for that reference and never earlier. It may call anything here,
    // `Release` of its own reference too.

    virtual DNSServiceErrorType Register(DNSServiceRef* ref,
                                         NetServiceRegistration const& registration,
                                         NetServiceRegisterReply* reply,
                                         void* context) = 0;
    /// `domain` null: the default ones.
    virtual DNSServiceErrorType Browse(DNSServiceRef* ref,
                                       std::uint32_t interfaceIndex,
                                       char const* type,
                                       char const* domain,
                                       NetServiceBrowseReply* reply,
                                       void* context) = 0;
    /// Answered more than once if what the service is about changes. One that has gone is answered
    /// too where the system can do so.
    virtual DNSServiceErrorType Resolve(DNSServiceRef* ref,
                                        NetServiceInstance const& instance,
                                        NetServiceResolveReply* reply,
                                        void* context) = 0;
    /// A descriptor that can be read when `Process` has something to do. References may share one.
    virtual int GetSocket(DNSServiceRef ref) = 0;
    /// Makes the callbacks that are due. May block if the socket can't be read.
    virtual DNSServiceErrorType Process(DNSServiceRef ref) = 0;
    /// Ends what the reference stands for; no callback comes for it any more.
    virtual void Release(DNSServiceRef ref) = 0;
};

/// The platform in use. Any thread may call.
CBasicNetServicePlatform& NetServicePlatform();

/// A new one of the system's own, which the caller owns. Defined in the system's file.
CBasicNetServicePlatform* NewNetServicePlatform();

/// Puts another platform in use for a scope. For tests, while there are no references.
class StNetServicePlatform
{
public:
    /// `platform` belongs to the caller and outlives the guard.
    explicit StNetServicePlatform(CBasicNetServicePlatform& platform);
    StNetServicePlatform(StNetServicePlatform const&) = delete;
    StNetServicePlatform& operator=(StNetServicePlatform const&) = delete;
    ~StNetServicePlatform();

private:
    CBasicNetServicePlatform* mFormer;  // not owned
};
