// One call to the Secret Service, which ends within two seconds; a dialog that the service shows
// has no such limit, and two seconds are left for what comes after it.
//
// It goes over the process's own connection to the session bus, which libsecret insists on. As GLib
// makes it, the end of that bus would end the process; it is told not to, and kept, since the next
// one would be told so again. Nothing else is kept: no service that another bus would find stale,
// and no session that the service would hold for us.
#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

#include "security/platform/linux/SecretLibrary.h"

/// Frees what GLib's objects are owned by.
struct ObjectUnref
{
    void operator()(void* object) const { gio::object_unref(object); }
};

template <class T>
using Owned = std::unique_ptr<T, ObjectUnref>;

/// The main context in which objects of a call were made. What they leave behind when they go, such
/// as the names of the signals that they heard, is only freed in there, and nobody else runs it.
class StStoreContext
{
public:
    StStoreContext();
    /// The same context, for objects that live on.
    StStoreContext(StStoreContext const& other);
    StStoreContext& operator=(StStoreContext const&) = delete;
    /// To be destroyed behind the objects.
    ~StStoreContext();

    GMainContext* Get() const { return mContext; }

private:
    GMainContext* mContext;  // a reference of its own
};

/// For a scope of one thread. What signals bring meanwhile goes with it too, instead of waiting in
/// the host's main loop.
class StStoreCall
{
public:
    /// Throws `std::system_error` where no thread can be had.
    StStoreCall();
    StStoreCall(StStoreCall const&) = delete;
    StStoreCall& operator=(StStoreCall const&) = delete;
    ~StStoreCall();

    /// The service, started if need be; null if there is none, or none that answers. It is the
    /// call's own, and may be used as long.
    SecretService* Connect();

    /// Goes on with the service of a former call.
    void Use(SecretService* service);

    /// What it goes on with; null at first.
    SecretService* Service() const { return mService.get(); }

    /// Where what it makes belongs to.
    StStoreContext const& Context() const { return mContext; }

    /// For every call that can block.
    GCancellable* Limit() const { return mLimit.get(); }

    /// While the user is asked, no time runs; after that it starts anew.
    void SetAsking(bool isAsking);

private:
    void Watch();
    bool StartService(GDBusConnection& bus) const;
    void CloseSession() const;

    StStoreContext mContext;
    Owned<GCancellable> mLimit;
    Owned<SecretService> mService;
    std::mutex mMutex;
    std::condition_variable mChange;
    std::chrono::steady_clock::time_point mEnd;  // guarded by mMutex
    bool mIsAsking = false;                      // guarded by mMutex
    bool mIsOver = false;                        // guarded by mMutex
    std::thread mWatchdog;
};
