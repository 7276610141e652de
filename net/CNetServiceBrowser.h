// Finds services on the network, by DNS-SD (RFC 6763).
//
//     CNetServiceBrowser browser;
//     browser.BrowseService("_http._tcp", true, false, &listener);
//
// Each service that comes or goes is resolved, and then told to the listener with all that is known
// of it, on the one events thread of the library, which the first object starts and which lives on.
// Nothing of its own is thrown; the constructor passes on what a thread that can't be started
// throws (`kThreadDomain`).
//
// Resolves that are under way when browsing stops stay counted, so that an object which browses
// once more may never be told `BrowseBatchDone` again: who wants that makes a new one.
//
// On Linux the Avahi daemon does the work. Where it doesn't run, browsing fails at once; when it
// ends, a browser hears nothing any more.
#pragma once

#include "foundation/LoamExport.h"

class CBasiCNetServiceBrowserImpl;
class CNetServiceBrowserListener;

/// One type at a time. `StopBrowsing` may come from any thread; all else is for one thread at a
/// time.
class LOAM_EXPORT CNetServiceBrowser
{
public:
    /// Idle.
    CNetServiceBrowser();
    CNetServiceBrowser(CNetServiceBrowser const&) = delete;
    CNetServiceBrowser& operator=(CNetServiceBrowser const&) = delete;

    // Virtual operations keep their order for ever; new ones go last.

    /// As `StopBrowsing`.
    virtual ~CNetServiceBrowser();
    /// Looks for services of `type`, such as "_http._tcp", from now on; what was looked for before
    /// is stopped first. On all network interfaces, or with `allInterfaces` false on this machine
    /// alone; in the default domains, or with `anyDomain` false in "local." alone. True if the
    /// request was taken. Without a `listener` nothing is resolved.
    virtual bool BrowseService(char const* type,
                               bool allInterfaces,
                               bool anyDomain,
                               CNetServiceBrowserListener* listener);
    /// Ends the browse and its resolves. When it returns the listener is not called any more: a
    /// call of it that is under way is waited for, unless it is the caller. So nobody calls this
    /// with a lock held that the listener takes.
    virtual void StopBrowsing();

private:
    CBasiCNetServiceBrowserImpl* mImpl;  // owned
};
