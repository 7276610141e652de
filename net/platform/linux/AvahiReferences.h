// The three kinds of references: what the daemon does for one, and the events that wait for its
// callback.
//
// For one thread at a time, as the connection is.
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <tuple>

#include <avahi-client/lookup.h>
#include <avahi-client/publish.h>

#include "net/platform/linux/CAvahiConnection.h"

// The numbers of the desktop platform.
constexpr DNSServiceErrorType kNetServiceUnknownError = -65537;
constexpr DNSServiceErrorType kNetServiceBadParameter = -65540;
constexpr DNSServiceErrorType kNetServiceNotRunning = -65563;

/// Avahi's number for an interface, and back. False where this machine has no loopback.
bool ToAvahiInterface(std::uint32_t interfaceIndex, AvahiIfIndex& avahiInterface);
std::uint32_t FromAvahiInterface(AvahiIfIndex avahiInterface);

/// Which service; type and domain without a dot at their ends.
struct ServiceKey
{
    AvahiIfIndex mInterface;
    std::string mName;
    std::string mType;
    std::string mDomain;

    auto AsTuple() const { return std::tie(mInterface, mName, mType, mDomain); }

    bool operator==(ServiceKey const& other) const { return AsTuple() == other.AsTuple(); }

    bool operator<(ServiceKey const& other) const { return AsTuple() < other.AsTuple(); }
};

/// What it is about.
struct ServiceFacts
{
    std::string mHost;        // with a dot at its end
    std::uint16_t mPort = 0;  // network byte order
    std::string mTXT;         // the record's content
};

/// A service that went, with what was known of it last.
struct RemovedService
{
    ServiceKey mKey;
    ServiceFacts mFacts;
};

struct _DNSServiceRef_t
{
    struct Event
    {
        DNSServiceFlags mFlags;
        std::function<void(DNSServiceFlags)> mCall;
        std::shared_ptr<RemovedService const> mRemoved =
            nullptr;  // what the event tells, if it does
    };

    explicit _DNSServiceRef_t(CAvahiConnection& connection)
        : mConnection(connection)
    {
    }

    _DNSServiceRef_t(_DNSServiceRef_t const&) = delete;
    _DNSServiceRef_t& operator=(_DNSServiceRef_t const&) = delete;
    /// Ends what the daemon does for it, and drops its events.
    virtual ~_DNSServiceRef_t();

    /// The client is about to go, with all objects of it.
    virtual void Lose() = 0;

    /// The daemon has settled, or has to settle, the name of this machine.
    virtual void SetRunning(bool /*isRunning*/) {}

    bool HasEvents() const { return !mEvents.empty(); }

    std::size_t CountEvents() const { return mEvents.size(); }

    Event TakeEvent();

protected:
    void AddEvent(Event event);

    CAvahiConnection& mConnection;
    std::deque<Event> mEvents;
};

class CAvahiRegistration final : public _DNSServiceRef_t
{
public:
    CAvahiRegistration(CAvahiConnection& connection,
                       NetServiceRegistration const& registration,
                       AvahiIfIndex avahiInterface,
                       NetServiceRegisterReply* reply,
                       void* context);
    ~CAvahiRegistration() override;

    /// Announces the service now, or when the daemon is ready for it. False if it refuses.
    bool Start();
    /// Both would be found under one name on some interface.
    bool HasNameOf(CAvahiRegistration const& other) const;
    void Lose() override;
    void SetRunning(bool isRunning) override;

private:
    static void GroupCallback(AvahiEntryGroup* group, AvahiEntryGroupState state, void* userData);

    void SetState(AvahiEntryGroupState state);
    bool Publish();
    void Tell(DNSServiceErrorType error);

    AvahiIfIndex mInterface;
    std::string mName;
    std::string mType;
    std::optional<std::string> mDomain;
    std::optional<std::string> mHost;
    std::uint16_t mPort;              // the processor's byte order
    AvahiStringList* mTXT = nullptr;  // owned
    NetServiceRegisterReply* mReply;
    void* mContext;                     // not owned
    AvahiEntryGroup* mGroup = nullptr;  // owned
    bool mIsTold = false;
    bool mIsLost = false;
};

class CAvahiBrowse final : public _DNSServiceRef_t
{
public:
    CAvahiBrowse(CAvahiConnection& connection, NetServiceBrowseReply* reply, void* context);
    ~CAvahiBrowse() override;

    /// `domain` may be null.
    bool Start(AvahiIfIndex avahiInterface, char const* type, char const* domain);
    void Lose() override;
    void Learn(ServiceKey const& key, ServiceFacts const& facts);

private:
    // Of a service that is there.
    struct Known
    {
        unsigned mProtocols = 0;  // a bit for each over which it is heard of
        ServiceFacts mFacts;
    };

    static void BrowserCallback(AvahiServiceBrowser* browser,
                                AvahiIfIndex avahiInterface,
                                AvahiProtocol protocol,
                                AvahiBrowserEvent event,
                                char const* name,
                                char const* type,
                                char const* domain,
                                AvahiLookupResultFlags flags,
                                void* userData);

    void ServiceCame(ServiceKey const& key, AvahiProtocol protocol);
    void ServiceWent(ServiceKey const& key, AvahiProtocol protocol);
    void Tell(ServiceKey const& key, Event event);
    void TellHeld(DNSServiceFlags flags);
    void Fail();

    NetServiceBrowseReply* mReply;
    void* mContext;                           // not owned
    AvahiServiceBrowser* mBrowser = nullptr;  // owned
    std::map<ServiceKey, Known> mKnown;
    std::optional<Event> mHeld;  // until it is clear whether it is the last of its batch
    bool mIsSettled = false;     // the daemon has told all that it found at first
};

class CAvahiResolve final : public _DNSServiceRef_t
{
public:
    CAvahiResolve(CAvahiConnection& connection,
                  ServiceKey key,
                  NetServiceResolveReply* reply,
                  void* context);
    ~CAvahiResolve() override;

    /// For the connection, when it is this one's turn.
    void Start();
    /// Answers at once, without the daemon.
    void Answer(ServiceFacts const& facts);
    /// Fails if this is for `key` and there is no answer yet.
    void Abandon(ServiceKey const& key);
    void Lose() override;

private:
    static void ResolverCallback(AvahiServiceResolver* resolver,
                                 AvahiIfIndex avahiInterface,
                                 AvahiProtocol protocol,
                                 AvahiResolverEvent event,
                                 char const* name,
                                 char const* type,
                                 char const* domain,
                                 char const* host,
                                 AvahiAddress const* address,
                                 std::uint16_t port,
                                 AvahiStringList* txt,
                                 AvahiLookupResultFlags flags,
                                 void* userData);

    void Fail();

    ServiceKey mKey;
    NetServiceResolveReply* mReply;
    void* mContext;                             // not owned
    AvahiServiceResolver* mResolver = nullptr;  // owned
    bool mIsAnswered = false;
};
