// Announces a service on the network, by DNS-SD (RFC 6763).
//
//     CNetService service;
//     service.RegisterService("Scans", "_http._tcp", port, nullptr, &txt, true, false, &listener);
//
// The listener is called on the one events thread of the library, which the first object starts and
// which lives on. Text is UTF-8. Nothing of its own is thrown; the constructor passes on what a
// thread that can't be started throws (`kThreadDomain`).
//
// On Linux the Avahi daemon does the work, for about a thousand services and browses of a process.
// Where it doesn't run, registration fails at once; when it ends, the listener hears that its
// service can't be found any more.
#pragma once

#include "foundation/LoamExport.h"

#include <string>
#include <utility>
#include <vector>

class CBasiCNetServiceImpl;
class CNetServiceListener;

/// At most one registration at a time. `UnregisterService` may come from any thread; all else is
/// for one thread at a time.
class LOAM_EXPORT CNetService
{
public:
    /// Not registered.
    CNetService();
    CNetService(CNetService const&) = delete;
    CNetService& operator=(CNetService const&) = delete;

    // Virtual operations keep their order for ever; new ones go last.

    /// As `UnregisterService`.
    virtual ~CNetService();
    /// Announces that this machine (or `host`, if not null: a full host name) serves `type`, such
    /// as "_http._tcp", at `port`, which is in the processor's byte order. True if the request was
    /// taken; whether the service can be found is what the listener is told then, within seconds.
    ///
    /// `name`: null or empty for that of this machine; a name that is taken gets a number behind
    /// it, as in "Scans (2)". `txt` may be null; of each pair the first 255 bytes of key=value are
    /// announced, and a record that is longer than 65,535 bytes in all is refused. Announced on all
    /// network interfaces, or with `allInterfaces` false for this machine alone; in the default
    /// domains, or with `anyDomain` false in "local." alone. `listener` may be null.
    ///
    /// An object that is registered is unregistered first, and then waits for two seconds.
    virtual bool RegisterService(char const* name,
                                 char const* type,
                                 unsigned short port,
                                 char const* host,
                                 std::vector<std::pair<std::string, std::string>> const* txt,
                                 bool allInterfaces,
                                 bool anyDomain,
                                 CNetServiceListener* listener);
    /// Takes the announcement back, if there is one. When it returns the listener is not called any
    /// more: a call of it that is under way is waited for, unless it is the caller. So nobody calls
    /// this with a lock held that the listener takes.
    virtual void UnregisterService();

private:
    CBasiCNetServiceImpl* mImpl;  // owned
};
