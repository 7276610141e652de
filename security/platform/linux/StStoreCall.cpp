#include "security/platform/linux/StStoreCall.h"

#include <chrono>
#include <csignal>

namespace {

constexpr std::chrono::seconds kLongestCall{2};
constexpr char const* kServiceName = "org.freedesktop.secrets";
// Of D-Bus's own: longer than ours.
constexpr int kUsualTimeLimit = -1;

// The bus that is in use, for as long as it lives.
struct SharedBus
{
    std::timed_mutex mMutex;
    // What the connection has to say, its end above all, is said here, and nobody listens.
    GMainContext* mContext = gio::main_context_new();  // owned
    Owned<GDBusConnection> mConnection;                // guarded by mMutex
};

// Lives to the end of the process, whatever else ends before.
SharedBus& TheBus()
{
    static auto& sBus = *new SharedBus;
    return sBus;
}

// Lets go of a bus that has gone, to make room for another one. The news of its end holds it too.
void DropClosed(SharedBus& bus)
{
    if (!bus.mConnection || !gio::dbus_connection_is_closed(bus.mConnection.get())) return;
    bus.mConnection.reset();
    while (gio::main_context_iteration(bus.mContext, FALSE)) {}
}

// Null where there is no bus.
Owned<GDBusConnection> ConnectToBus(GCancellable* limit)
{
    SharedBus& bus = TheBus();
    std::unique_lock const lock(bus.mMutex, kLongestCall);
    if (!lock) return nullptr;
    DropClosed(bus);
    if (!bus.mConnection) {
        gio::main_context_push_thread_default(bus.mContext);
        bus.mConnection.reset(gio::bus_get_sync(G_BUS_TYPE_SESSION, limit, nullptr));
        gio::main_context_pop_thread_default(bus.mContext);
        if (!bus.mConnection) return nullptr;
        gio::dbus_connection_set_exit_on_close(bus.mConnection.get(), FALSE);
    }
    return Owned<GDBusConnection>(
        static_cast<GDBusConnection*>(gio::object_ref(bus.mConnection.get())));
}

// That of this thread.
thread_local StStoreCall* sCurrent = nullptr;  // not owned

// A service as libsecret makes it, but for what it does when it asks the user: it tells the
// thread's call, and goes on without a limit, since libsecret never comes back from a prompt that
// is cancelled.
SecretServiceClass const& ParentClass()
{
    static auto const* const sParent =
        static_cast<SecretServiceClass*>(gio::type_class_ref(secret::service_get_type()));
    return *sParent;
}

void SetAsking(bool isAsking)
{
    if (sCurrent) sCurrent->SetAsking(isAsking);
}

GVariant* Ask(SecretService* service,
              SecretPrompt* prompt,
              GCancellable*,
              GVariantType const* type,
              GError** error)
{
    SetAsking(true);
    GVariant* const answer = ParentClass().prompt_sync(service, prompt, nullptr, type, error);
    SetAsking(false);
    return answer;
}

void BeginToAsk(SecretService* service,
                SecretPrompt* prompt,
                GVariantType const* type,
                GCancellable*,
                GAsyncReadyCallback done,
                gpointer data)
{
    SetAsking(true);
    ParentClass().prompt_async(service, prompt, type, nullptr, done, data);
}

GVariant* EndToAsk(SecretService* service, GAsyncResult* result, GError** error)
{
    SetAsking(false);
    return ParentClass().prompt_finish(service, result, error);
}

void InitAskingClass(gpointer type, gpointer)
{
    auto* const operations = static_cast<SecretServiceClass*>(type);
    operations->prompt_sync = Ask;
    operations->prompt_async = BeginToAsk;
    operations->prompt_finish = EndToAsk;
}

GType AskingServiceType()
{
    static GType const sType = gio::type_register_static_simple(
        secret::service_get_type(), "LoamAskingSecretService", sizeof(SecretServiceClass),
        InitAskingClass, sizeof(SecretService), nullptr, static_cast<GTypeFlags>(0));
    return sType;
}

}  // namespace

StStoreContext::StStoreContext()
    : mContext(gio::main_context_new())
{
}

StStoreContext::StStoreContext(StStoreContext const& other)
    : mContext(gio::main_context_ref(other.mContext))
{
}

StStoreContext::~StStoreContext()
{
    while (gio::main_context_iteration(mContext, FALSE)) {}
    gio::main_context_unref(mContext);
}

StStoreCall::StStoreCall()
    : mLimit(gio::cancellable_new())
    , mEnd(std::chrono::steady_clock::now() + kLongestCall)
{
    // Signals are for the host's threads.
    sigset_t all;
    sigset_t former;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &former);
    try {
        mWatchdog = std::thread([this] { Watch(); });
    } catch (...) {
        pthread_sigmask(SIG_SETMASK, &former, nullptr);
        throw;
    }
    pthread_sigmask(SIG_SETMASK, &former, nullptr);
    gio::main_context_push_thread_default(mContext.Get());
    sCurrent = this;
}

StStoreCall::~StStoreCall()
{
    if (mService) CloseSession();
    mService.reset();
    gio::main_context_pop_thread_default(mContext.Get());
    sCurrent = nullptr;
    {
        std::lock_guard const lock(mMutex);
        mIsOver = true;
    }
    mChange.notify_one();
    mWatchdog.join();
}

void StStoreCall::SetAsking(bool isAsking)
{
    {
        std::lock_guard const lock(mMutex);
        mIsAsking = isAsking;
        mEnd = std::chrono::steady_clock::now() + kLongestCall;
    }
    mChange.notify_one();
}

void StStoreCall::Watch()
{
    std::unique_lock lock(mMutex);
    while (!mIsOver) {
        if (mIsAsking) {
            mChange.wait(lock);
        } else if (std::chrono::steady_clock::now() < mEnd) {
            mChange.wait_until(lock, mEnd);
        } else {
            gio::cancellable_cancel(mLimit.get());
            return;
        }
    }
}

SecretService* StStoreCall::Connect()
{
    Owned<GDBusConnection> const bus = ConnectToBus(Limit());
    if (!bus || !StartService(*bus)) return nullptr;
    mService.reset(secret::service_open_sync(AskingServiceType(), kServiceName, SECRET_SERVICE_NONE,
                                             Limit(), nullptr));
    return mService.get();
}

void StStoreCall::Use(SecretService* service)
{
    mService.reset(static_cast<SecretService*>(gio::object_ref(service)));
}

// A service that can't be started is told at once here, and by time-outs further on.
bool StStoreCall::StartService(GDBusConnection& bus) const
{
    GVariant* const started = gio::dbus_connection_call_sync(
        &bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
        "StartServiceByName", gio::variant_new("(su)", kServiceName, 0U), nullptr,
        G_DBUS_CALL_FLAGS_NONE, kUsualTimeLimit, Limit(), nullptr);
    if (!started) return false;
    gio::variant_unref(started);
    return true;
}

// The service would keep it as long as the connection lives. Nobody waits for the answer.
void StStoreCall::CloseSession() const
{
    char const* const session = secret::service_get_session_dbus_path(mService.get());
    if (!session) return;
    gio::dbus_connection_call(
        gio::dbus_proxy_get_connection(reinterpret_cast<GDBusProxy*>(mService.get())), kServiceName,
        session, "org.freedesktop.Secret.Session", "Close", nullptr, nullptr,
        G_DBUS_CALL_FLAGS_NO_AUTO_START, kUsualTimeLimit, nullptr, nullptr, nullptr);
}
