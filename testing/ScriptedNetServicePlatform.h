// Service discovery that does what a test tells it to, and remembers what it was asked.
//
// Callbacks are made on the test's own thread (`Registered`, `Browsed`, `Resolved`), or on the
// events thread by `Post`. Any thread may call.
#pragma once

#include "net/platform/CBasicNetServicePlatform.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

class ScriptedNetServicePlatform final : public CBasicNetServicePlatform
{
public:
    ScriptedNetServicePlatform() = default;
    ~ScriptedNetServicePlatform() override;

    DNSServiceErrorType Register(DNSServiceRef* ref,
                                 NetServiceRegistration const& registration,
                                 NetServiceRegisterReply* reply,
                                 void* context) override;
    DNSServiceErrorType Browse(DNSServiceRef* ref,
                               std::uint32_t interfaceIndex,
                               char const* type,
                               char const* domain,
                               NetServiceBrowseReply* reply,
                               void* context) override;
    DNSServiceErrorType Resolve(DNSServiceRef* ref,
                                NetServiceInstance const& instance,
                                NetServiceResolveReply* reply,
                                void* context) override;
    int GetSocket(DNSServiceRef ref) override;
    DNSServiceErrorType Process(DNSServiceRef ref) override;
    void Release(DNSServiceRef ref) override;

    /// The next call that would make a reference makes none and answers `error`, which may be 0.
    void RefuseNext(DNSServiceErrorType error);
    /// `Process` answers this after the next action.
    void FailNextProcess(DNSServiceErrorType error);

    /// From now on each registration succeeds, each browse is told of `services` services in one
    /// batch and each resolve is answered, on the events thread.
    void AnswerByItself(int services);

    /// What was called so far, a line each, such as
    /// "browse #1 if=0 type=_http._tcp domain=local." or "release #1"; "-" stands for null.
    std::vector<std::string> Trace() const;
    /// The newest reference that lives.
    DNSServiceRef Newest() const;
    /// Those that live.
    int CountLiving() const;
    /// Calls with a reference that was released or never made, which must not happen.
    int CountMisuses() const;

    // Callbacks, with what a test doesn't care for filled in.

    void Registered(DNSServiceRef ref, DNSServiceErrorType error);
    void Browsed(DNSServiceRef ref,
                 DNSServiceFlags flags,
                 char const* name,
                 DNSServiceErrorType error = kNetServiceNoError);
    void Resolved(DNSServiceRef ref,
                  char const* fullName,
                  std::string const& txt = "",
                  DNSServiceErrorType error = kNetServiceNoError);

    /// Has the events thread run `action` when it processes `ref`. Dropped if `ref` is released.
    void Post(DNSServiceRef ref, std::function<void()> action);

private:
    // What stands behind a DNSServiceRef of ours.
    struct Reference
    {
        int mNumber = 0;
        int mSocket[2] = {-1, -1};
        NetServiceRegisterReply* mRegisterReply = nullptr;
        NetServiceBrowseReply* mBrowseReply = nullptr;
        NetServiceResolveReply* mResolveReply = nullptr;
        void* mContext = nullptr;
        std::deque<std::function<void()>> mActions;
    };

    DNSServiceErrorType
    Make(DNSServiceRef* ref, char const* what, std::string const& arguments, Reference made);
    void AddAction(Reference& reference, std::function<void()> action);
    void AddAnswers(Reference& reference);
    Reference* Find(DNSServiceRef ref) const;
    Reference* FindOrCount(DNSServiceRef ref) const;
    Reference Get(DNSServiceRef ref) const;

    mutable std::mutex mMutex;  // guards all from here on
    std::vector<std::unique_ptr<Reference>> mReferences;
    std::vector<std::string> mTrace;
    int mMade = 0;
    mutable int mMisuses = 0;
    bool mAnswersByItself = false;
    int mServices = 0;
    bool mRefuses = false;
    DNSServiceErrorType mRefusal = 0;
    DNSServiceErrorType mProcessError = 0;
    int mProcessing = 0;
    std::condition_variable mProcessed;
};
