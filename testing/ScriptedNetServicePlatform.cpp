#include "testing/ScriptedNetServicePlatform.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include <arpa/inet.h>
#include <unistd.h>

namespace {

std::string Shown(char const* text)
{
    return text ? text : "-";
}

std::string Shown(std::uint32_t interfaceIndex)
{
    return std::to_string(static_cast<std::int32_t>(interfaceIndex));
}

}  // namespace

ScriptedNetServicePlatform::~ScriptedNetServicePlatform()
{
    {
        // An action lets its test go on before the thread of events has left `Process`.
        std::unique_lock lock(mMutex);
        mProcessed.wait(lock, [this] { return mProcessing == 0; });
    }
    while (DNSServiceRef const ref = Newest())
        Release(ref);
}

DNSServiceErrorType ScriptedNetServicePlatform::Register(DNSServiceRef* ref,
                                                         NetServiceRegistration const& registration,
                                                         NetServiceRegisterReply* reply,
                                                         void* context)
{
    std::string const txt =
        registration.mTXT
            ? std::string(static_cast<char const*>(registration.mTXT), registration.mTXTLength)
            : "-";
    Reference made;
    made.mRegisterReply = reply;
    made.mContext = context;
    return Make(ref, "register",
                "if=" + Shown(registration.mInterfaceIndex) + " name=" + Shown(registration.mName) +
                    " type=" + Shown(registration.mType) + " domain=" +
                    Shown(registration.mDomain) + " host=" + Shown(registration.mHost) +
                    " port=" + std::to_string(ntohs(registration.mPort)) + " txt=" + txt,
                std::move(made));
}

DNSServiceErrorType ScriptedNetServicePlatform::Browse(DNSServiceRef* ref,
                                                       std::uint32_t interfaceIndex,
                                                       char const* type,
                                                       char const* domain,
                                                       NetServiceBrowseReply* reply,
                                                       void* context)
{
    Reference made;
    made.mBrowseReply = reply;
    made.mContext = context;
    return Make(ref, "browse",
                "if=" + Shown(interfaceIndex) + " type=" + Shown(type) + " domain=" + Shown(domain),
                std::move(made));
}

DNSServiceErrorType ScriptedNetServicePlatform::Resolve(DNSServiceRef* ref,
                                                        NetServiceInstance const& instance,
                                                        NetServiceResolveReply* reply,
                                                        void* context)
{
    Reference made;
    made.mResolveReply = reply;
    made.mContext = context;
    return Make(ref, "resolve",
                "if=" + Shown(instance.mInterfaceIndex) + " name=" + Shown(instance.mName) +
                    " type=" + Shown(instance.mType) + " domain=" + Shown(instance.mDomain),
                std::move(made));
}

int ScriptedNetServicePlatform::GetSocket(DNSServiceRef ref)
{
    std::lock_guard const lock(mMutex);
    Reference const* const found = FindOrCount(ref);
    return found ? found->mSocket[0] : -1;
}

DNSServiceErrorType ScriptedNetServicePlatform::Process(DNSServiceRef ref)
{
    std::function<void()> action;
    {
        std::lock_guard const lock(mMutex);
        Reference* const found = FindOrCount(ref);
        if (!found || found->mActions.empty()) return kNetServiceNoError;
        char byte = 0;
        if (read(found->mSocket[0], &byte, 1) != 1) ++mMisuses;
        action = std::move(found->mActions.front());
        found->mActions.pop_front();
        ++mProcessing;
    }
    action();
    std::lock_guard const lock(mMutex);
    --mProcessing;
    mProcessed.notify_all();
    return std::exchange(mProcessError, kNetServiceNoError);
}

void ScriptedNetServicePlatform::Release(DNSServiceRef ref)
{
    std::lock_guard const lock(mMutex);
    Reference const* const found = FindOrCount(ref);
    if (!found) return;
    mTrace.push_back("release #" + std::to_string(found->mNumber));
    close(found->mSocket[0]);
    close(found->mSocket[1]);
    std::erase_if(mReferences, [found](auto const& one) { return one.get() == found; });
}

void ScriptedNetServicePlatform::RefuseNext(DNSServiceErrorType error)
{
    std::lock_guard const lock(mMutex);
    mRefuses = true;
    mRefusal = error;
}

void ScriptedNetServicePlatform::FailNextProcess(DNSServiceErrorType error)
{
    std::lock_guard const lock(mMutex);
    mProcessError = error;
}

void ScriptedNetServicePlatform::AnswerByItself(int services)
{
    std::lock_guard const lock(mMutex);
    mAnswersByItself = true;
    mServices = services;
}

std::vector<std::string> ScriptedNetServicePlatform::Trace() const
{
    std::lock_guard const lock(mMutex);
    return mTrace;
}

DNSServiceRef ScriptedNetServicePlatform::Newest() const
{
    std::lock_guard const lock(mMutex);
    return mReferences.empty() ? nullptr
                               : reinterpret_cast<DNSServiceRef>(mReferences.back().get());
}

int ScriptedNetServicePlatform::CountLiving() const
{
    std::lock_guard const lock(mMutex);
    return static_cast<int>(mReferences.size());
}

int ScriptedNetServicePlatform::CountMisuses() const
{
    std::lock_guard const lock(mMutex);
    return mMisuses;
}

void ScriptedNetServicePlatform::Registered(DNSServiceRef ref, DNSServiceErrorType error)
{
    Reference const got = Get(ref);
    got.mRegisterReply(ref, kNetServiceAdd, error, "", "", "", got.mContext);
}

void ScriptedNetServicePlatform::Browsed(DNSServiceRef ref,
                                         DNSServiceFlags flags,
                                         char const* name,
                                         DNSServiceErrorType error)
{
    Reference const got = Get(ref);
    got.mBrowseReply(ref, flags, 4, error, name, "_http._tcp.", "local.", got.mContext);
}

void ScriptedNetServicePlatform::Resolved(DNSServiceRef ref,
                                          char const* fullName,
                                          std::string const& txt,
                                          DNSServiceErrorType error)
{
    Reference const got = Get(ref);
    got.mResolveReply(ref, 0, 4, error, fullName, "host.local.", htons(8000),
                      static_cast<std::uint16_t>(txt.size()),
                      reinterpret_cast<unsigned char const*>(txt.data()), got.mContext);
}

void ScriptedNetServicePlatform::Post(DNSServiceRef ref, std::function<void()> action)
{
    std::lock_guard const lock(mMutex);
    if (Reference* const found = Find(ref)) AddAction(*found, std::move(action));
}

DNSServiceErrorType ScriptedNetServicePlatform::Make(DNSServiceRef* ref,
                                                     char const* what,
                                                     std::string const& arguments,
                                                     Reference made)
{
    std::lock_guard const lock(mMutex);
    bool const isRefused = std::exchange(mRefuses, false);
    made.mNumber = isRefused ? 0 : ++mMade;
    mTrace.push_back(std::string(what) + " #" + std::to_string(made.mNumber) + " " + arguments);
    if (isRefused) return mRefusal;
    if (pipe(made.mSocket) != 0) throw std::runtime_error("there is no pipe to be had");
    mReferences.push_back(std::make_unique<Reference>(std::move(made)));
    *ref = reinterpret_cast<DNSServiceRef>(mReferences.back().get());
    if (mAnswersByItself) AddAnswers(*mReferences.back());
    return kNetServiceNoError;
}

// All but the last with mMutex held.

void ScriptedNetServicePlatform::AddAction(Reference& reference, std::function<void()> action)
{
    reference.mActions.push_back(std::move(action));
    if (write(reference.mSocket[1], "", 1) != 1) throw std::runtime_error("the pipe is full");
}

void ScriptedNetServicePlatform::AddAnswers(Reference& reference)
{
    auto* const ref = reinterpret_cast<DNSServiceRef>(&reference);
    if (reference.mRegisterReply)
        AddAction(reference, [this, ref] { Registered(ref, kNetServiceNoError); });
    if (reference.mResolveReply)
        AddAction(reference, [this, ref] { Resolved(ref, "Scans._http._tcp.local."); });
    for (int i = 1; reference.mBrowseReply && i <= mServices; ++i) {
        DNSServiceFlags const more = i < mServices ? kNetServiceMoreComing : 0;
        AddAction(reference, [this, ref, more] { Browsed(ref, kNetServiceAdd | more, "Scans"); });
    }
}

ScriptedNetServicePlatform::Reference* ScriptedNetServicePlatform::Find(DNSServiceRef ref) const
{
    auto const found = std::find_if(mReferences.begin(), mReferences.end(), [ref](auto const& one) {
        return reinterpret_cast<DNSServiceRef>(one.get()) == ref;
    });
    return found == mReferences.end() ? nullptr : found->get();
}

ScriptedNetServicePlatform::Reference*
ScriptedNetServicePlatform::FindOrCount(DNSServiceRef ref) const
{
    Reference* const found = Find(ref);
    if (!found) ++mMisuses;
    return found;
}

ScriptedNetServicePlatform::Reference ScriptedNetServicePlatform::Get(DNSServiceRef ref) const
{
    std::lock_guard const lock(mMutex);
    Reference const* const found = FindOrCount(ref);
    if (!found) throw std::runtime_error("this reference has been released");
    return *found;
}
