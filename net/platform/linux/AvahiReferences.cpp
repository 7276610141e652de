#include "net/platform/linux/AvahiReferences.h"

#include <algorithm>
#include <limits>
#include <string_view>
#include <utility>

#include <arpa/inet.h>
#include <avahi-common/error.h>
#include <net/if.h>
#include <strings.h>

#include "net/platform/linux/AvahiLibrary.h"
#include "net/platform/linux/ServiceNames.h"

namespace {

AvahiIfIndex LoopbackInterface()
{
    return static_cast<AvahiIfIndex>(if_nametoindex("lo"));
}

char const* NullOr(std::optional<std::string> const& text)
{
    return text ? text->c_str() : nullptr;
}

std::optional<std::string> OptionalText(char const* text)
{
    return text ? std::optional<std::string>(WithoutDot(text)) : std::nullopt;
}

// The list grows at its head, and the daemon writes it to the network from its end. What comes from
// the network is in the order of the record.
AvahiStringList* ListOfRecord(std::string_view record)
{
    AvahiStringList* list = nullptr;
    while (!record.empty()) {
        std::size_t const size = static_cast<unsigned char>(record.front());
        std::string_view const entry = record.substr(1, size);
        list = avahi::string_list_add_arbitrary(
            list, reinterpret_cast<std::uint8_t const*>(entry.data()), entry.size());
        record.remove_prefix(1 + entry.size());
    }
    return list;
}

std::string RecordOfList(AvahiStringList* list)
{
    std::string record;
    for (; list; list = avahi::string_list_get_next(list)) {
        std::string_view const entry(
            reinterpret_cast<char const*>(avahi::string_list_get_text(list)),
            avahi::string_list_get_size(list));
        if (entry.size() > std::numeric_limits<std::uint8_t>::max()) continue;
        if (record.size() + 1 + entry.size() > std::numeric_limits<std::uint16_t>::max()) break;
        record += static_cast<char>(static_cast<unsigned char>(entry.size()));
        record += entry;
    }
    return record;
}

}  // namespace

bool ToAvahiInterface(std::uint32_t interfaceIndex, AvahiIfIndex& avahiInterface)
{
    // -1 means all of them to Avahi.
    if (interfaceIndex == kNetServiceAnyInterface) {
        avahiInterface = AVAHI_IF_UNSPEC;
        return true;
    }
    bool const isLocal = interfaceIndex == kNetServiceLocalOnly;
    avahiInterface = isLocal ? LoopbackInterface() : static_cast<AvahiIfIndex>(interfaceIndex);
    return avahiInterface > 0;
}

std::uint32_t FromAvahiInterface(AvahiIfIndex avahiInterface)
{
    return avahiInterface == LoopbackInterface() ? kNetServiceLocalOnly
                                                 : static_cast<std::uint32_t>(avahiInterface);
}

_DNSServiceRef_t::~_DNSServiceRef_t()
{
    mConnection.CountEvents(-static_cast<int>(mEvents.size()));
}

_DNSServiceRef_t::Event _DNSServiceRef_t::TakeEvent()
{
    Event event = std::move(mEvents.front());
    mEvents.pop_front();
    mConnection.CountEvents(-1);
    return event;
}

void _DNSServiceRef_t::AddEvent(Event event)
{
    mEvents.push_back(std::move(event));
    mConnection.CountEvents(1);
}

CAvahiRegistration::CAvahiRegistration(CAvahiConnection& connection,
                                       NetServiceRegistration const& registration,
                                       AvahiIfIndex avahiInterface,
                                       NetServiceRegisterReply* reply,
                                       void* context)
    : _DNSServiceRef_t(connection)
    , mInterface(avahiInterface)
    , mName(registration.mName ? FittingServiceName(registration.mName) : std::string())
    , mType(WithoutDot(registration.mType))
    , mDomain(OptionalText(registration.mDomain))
    , mHost(OptionalText(registration.mHost))
    , mPort(ntohs(registration.mPort))
    , mTXT(ListOfRecord({static_cast<char const*>(registration.mTXT), registration.mTXTLength}))
    , mReply(reply)
    , mContext(context)
{
    mConnection.AddRegistration(this);
}

CAvahiRegistration::~CAvahiRegistration()
{
    mConnection.RemoveRegistration(this);
    if (mGroup) avahi::entry_group_free(mGroup);
    avahi::string_list_free(mTXT);
}

bool CAvahiRegistration::Start()
{
    if (mName.empty()) {
        char const* const machine = avahi::client_get_host_name(mConnection.GetClient());
        if (!machine) return false;
        mName = machine;
    }
    return !mConnection.IsRunning() || Publish();
}

// Domain names know no case (RFC 1035, 2.3.3).
bool CAvahiRegistration::HasNameOf(CAvahiRegistration const& other) const
{
    bool const isSameInterface = mInterface == other.mInterface || mInterface == AVAHI_IF_UNSPEC ||
                                 other.mInterface == AVAHI_IF_UNSPEC;
    return isSameInterface && strcasecmp(mName.c_str(), other.mName.c_str()) == 0 &&
           strcasecmp(mType.c_str(), other.mType.c_str()) == 0;
}

void CAvahiRegistration::Lose()
{
    mGroup = nullptr;
    mIsLost = true;
    Tell(kNetServiceNotRunning);
}

// A machine that gets another name takes its services along.
void CAvahiRegistration::SetRunning(bool isRunning)
{
    if (mIsLost) return;  // not tried again with another daemon
    if (!isRunning && mGroup)
        avahi::entry_group_reset(mGroup);
    else if (isRunning && !Publish())
        Tell(kNetServiceUnknownError);
}

void CAvahiRegistration::GroupCallback(AvahiEntryGroup* /*group*/,
                                       AvahiEntryGroupState state,
                                       void* userData)
{
    static_cast<CAvahiRegistration*>(userData)->SetState(state);
}

// Also within avahi_entry_group_new.
void CAvahiRegistration::SetState(AvahiEntryGroupState state)
{
    switch (state) {
    case AVAHI_ENTRY_GROUP_ESTABLISHED:
        // It comes again with each new network interface.
        if (!std::exchange(mIsTold, true)) Tell(kNetServiceNoError);
        break;
    case AVAHI_ENTRY_GROUP_COLLISION:  // with another machine
        mName = NextServiceName(mName);
        avahi::entry_group_reset(mGroup);
        if (!Publish()) Tell(kNetServiceUnknownError);
        break;
    case AVAHI_ENTRY_GROUP_FAILURE:
        Tell(kNetServiceUnknownError);
        break;
    case AVAHI_ENTRY_GROUP_UNCOMMITED:
    case AVAHI_ENTRY_GROUP_REGISTERING:
        break;
    }
}

bool CAvahiRegistration::Publish()
{
    if (!mGroup) mGroup = avahi::entry_group_new(mConnection.GetClient(), GroupCallback, this);
    if (!mGroup) return false;
    for (;; mName = NextServiceName(mName)) {
        if (mConnection.IsNameTaken(*this)) continue;
        int const error = avahi::entry_group_add_service_strlst(
            mGroup, mInterface, AVAHI_PROTO_UNSPEC, AvahiPublishFlags{}, mName.c_str(),
            mType.c_str(), NullOr(mDomain), NullOr(mHost), mPort, mTXT);
        if (error == AVAHI_OK) return avahi::entry_group_commit(mGroup) == AVAHI_OK;
        // By another program of this machine.
        if (error != AVAHI_ERR_COLLISION) return false;
    }
}

void CAvahiRegistration::Tell(DNSServiceErrorType error)
{
    AddEvent({kNetServiceAdd, [self = this, reply = mReply, context = mContext, error, name = mName,
                               type = WithDot(mType),
                               domain = WithDot(mDomain.value_or("local"))](DNSServiceFlags flags) {
                  reply(self, flags, error, name.c_str(), type.c_str(), domain.c_str(), context);
              }});
}

CAvahiBrowse::CAvahiBrowse(CAvahiConnection& connection,
                           NetServiceBrowseReply* reply,
                           void* context)
    : _DNSServiceRef_t(connection)
    , mReply(reply)
    , mContext(context)
{
    mConnection.AddBrowse(this);
}

CAvahiBrowse::~CAvahiBrowse()
{
    mConnection.RemoveBrowse(this);
    if (mBrowser) avahi::service_browser_free(mBrowser);
}

bool CAvahiBrowse::Start(AvahiIfIndex avahiInterface, char const* type, char const* domain)
{
    mBrowser = avahi::service_browser_new(
        mConnection.GetClient(), avahiInterface, AVAHI_PROTO_UNSPEC, WithoutDot(type).c_str(),
        NullOr(OptionalText(domain)), AvahiLookupFlags{}, BrowserCallback, this);
    return mBrowser != nullptr;
}

void CAvahiBrowse::Lose()
{
    mBrowser = nullptr;
    Fail();
}

void CAvahiBrowse::Learn(ServiceKey const& key, ServiceFacts const& facts)
{
    auto const known = mKnown.find(key);
    if (known != mKnown.end()) known->second.mFacts = facts;
}

void CAvahiBrowse::BrowserCallback(AvahiServiceBrowser* /*browser*/,
                                   AvahiIfIndex avahiInterface,
                                   AvahiProtocol protocol,
                                   AvahiBrowserEvent event,
                                   char const* name,
                                   char const* type,
                                   char const* domain,
                                   AvahiLookupResultFlags /*flags*/,
                                   void* userData)
{
    auto* const self = static_cast<CAvahiBrowse*>(userData);
    switch (event) {
    case AVAHI_BROWSER_NEW:
        self->ServiceCame({avahiInterface, name, type, domain}, protocol);
        break;
    case AVAHI_BROWSER_REMOVE:
        self->ServiceWent({avahiInterface, name, type, domain}, protocol);
        break;
    case AVAHI_BROWSER_CACHE_EXHAUSTED:
        self->TellHeld(0);
        break;
    case AVAHI_BROWSER_ALL_FOR_NOW:
        self->TellHeld(0);
        self->mIsSettled = true;
        break;
    case AVAHI_BROWSER_FAILURE:
        self->Fail();
        break;
    }
}

// Avahi tells of a service once for each protocol, the desktop once for each interface.
void CAvahiBrowse::ServiceCame(ServiceKey const& key, AvahiProtocol protocol)
{
    Known& known = mKnown[key];
    bool const isNew = known.mProtocols == 0;
    known.mProtocols |= 1U << protocol;
    if (isNew) Tell(key, {kNetServiceAdd, nullptr});
}

void CAvahiBrowse::ServiceWent(ServiceKey const& key, AvahiProtocol protocol)
{
    auto const known = mKnown.find(key);
    if (known == mKnown.end()) return;
    known->second.mProtocols &= ~(1U << protocol);
    if (known->second.mProtocols != 0) return;
    auto removed = std::make_shared<RemovedService const>(
        RemovedService{key, std::move(known->second.mFacts)});
    mKnown.erase(known);
    mConnection.AbandonResolves(key);
    Tell(key, {0, nullptr, std::move(removed)});
}

// At first Avahi says where its news end, so that each is held until it is clear whether another
// follows. Later those that wait together are a batch.
void CAvahiBrowse::Tell(ServiceKey const& key, Event event)
{
    event.mCall = [self = this, reply = mReply, context = mContext, name = key.mName,
                   index = FromAvahiInterface(key.mInterface), type = WithDot(key.mType),
                   domain = WithDot(key.mDomain)](DNSServiceFlags flags) {
        reply(self, flags, index, kNetServiceNoError, name.c_str(), type.c_str(), domain.c_str(),
              context);
    };
    if (!mIsSettled) {
        TellHeld(kNetServiceMoreComing);
        mHeld = std::move(event);
        return;
    }
    if (!mEvents.empty()) mEvents.back().mFlags |= kNetServiceMoreComing;
    AddEvent(std::move(event));
}

void CAvahiBrowse::TellHeld(DNSServiceFlags flags)
{
    if (!mHeld) return;
    mHeld->mFlags |= flags;
    AddEvent(*std::exchange(mHeld, std::nullopt));
}

void CAvahiBrowse::Fail()
{
    TellHeld(0);
    AddEvent({0, [self = this, reply = mReply, context = mContext](DNSServiceFlags flags) {
                  reply(self, flags, 0, kNetServiceNotRunning, "", "", "", context);
              }});
}

CAvahiResolve::CAvahiResolve(CAvahiConnection& connection,
                             ServiceKey key,
                             NetServiceResolveReply* reply,
                             void* context)
    : _DNSServiceRef_t(connection)
    , mKey(std::move(key))
    , mReply(reply)
    , mContext(context)
{
}

CAvahiResolve::~CAvahiResolve()
{
    if (mResolver) avahi::service_resolver_free(mResolver);
    mConnection.EndResolve(this);
}

// Without a look-up of the host's address, which isn't asked for and takes seconds to fail.
void CAvahiResolve::Start()
{
    if (mIsAnswered) return;
    mResolver = avahi::service_resolver_new(
        mConnection.GetClient(), mKey.mInterface, AVAHI_PROTO_UNSPEC, mKey.mName.c_str(),
        mKey.mType.c_str(), mKey.mDomain.c_str(), AVAHI_PROTO_UNSPEC, AVAHI_LOOKUP_NO_ADDRESS,
        ResolverCallback, this);
    if (!mResolver) Fail();
}

void CAvahiResolve::Answer(ServiceFacts const& facts)
{
    mIsAnswered = true;
    AddEvent(
        {0,
         [self = this, reply = mReply, context = mContext, facts,
          index = FromAvahiInterface(mKey.mInterface),
          fullName = FullServiceName(mKey.mName, mKey.mType, mKey.mDomain)](DNSServiceFlags flags) {
             reply(self, flags, index, kNetServiceNoError, fullName.c_str(), facts.mHost.c_str(),
                   facts.mPort, static_cast<std::uint16_t>(facts.mTXT.size()),
                   reinterpret_cast<unsigned char const*>(facts.mTXT.data()), context);
         }});
}

void CAvahiResolve::Abandon(ServiceKey const& key)
{
    if (!mIsAnswered && mKey == key) Fail();
}

void CAvahiResolve::Lose()
{
    mResolver = nullptr;
    if (!mIsAnswered) Fail();
}

void CAvahiResolve::ResolverCallback(AvahiServiceResolver* /*resolver*/,
                                     AvahiIfIndex /*avahiInterface*/,
                                     AvahiProtocol /*protocol*/,
                                     AvahiResolverEvent event,
                                     char const* /*name*/,
                                     char const* /*type*/,
                                     char const* /*domain*/,
                                     char const* host,
                                     AvahiAddress const* /*address*/,
                                     std::uint16_t port,
                                     AvahiStringList* txt,
                                     AvahiLookupResultFlags /*flags*/,
                                     void* userData)
{
    auto* const self = static_cast<CAvahiResolve*>(userData);
    if (event != AVAHI_RESOLVER_FOUND) {
        self->Fail();
        return;
    }
    ServiceFacts const facts{WithDot(host), htons(port), RecordOfList(txt)};
    self->mConnection.Learn(self->mKey, facts);
    self->Answer(facts);
}

void CAvahiResolve::Fail()
{
    mIsAnswered = true;
    AddEvent({0, [self = this, reply = mReply, context = mContext](DNSServiceFlags flags) {
                  reply(self, flags, 0, kNetServiceUnknownError, "", "", 0, 0, nullptr, context);
              }});
}
