// Who is told which services come and go.
#pragma once

#include <string>
#include <utility>
#include <vector>

class CNetServiceBrowser;

/// Derived from by the host, which owns it and keeps it until browsing has stopped.
///
/// Called on the library's events thread, so operations should be short; they may stop, start and
/// delete `browser`. An exception that leaves one ends the process.
class CNetServiceBrowserListener
{
public:
    CNetServiceBrowserListener() = default;
    CNetServiceBrowserListener(CNetServiceBrowserListener const&) = delete;
    CNetServiceBrowserListener& operator=(CNetServiceBrowserListener const&) = delete;
    virtual ~CNetServiceBrowserListener() = default;

    // Virtual operations keep their order for ever; new ones go last.

    /// A service came (`added`) or went. `name` is its plain name and `host` a full host name with
    /// a dot at its end, both UTF-8; `port` is in the processor's byte order. `txt` holds the pairs
    /// of the service's TXT record in their order, without the entries that have no "="; values are
    /// bytes of any kind. Of a service that went, host, port and pairs are the last known ones, or
    /// empty and 0. `interfaceIndex` is the system's number of the network interface, -1 for this
    /// machine alone. What is pointed to is gone when the call returns.
    virtual void ServiceChanged(CNetServiceBrowser* browser,
                                bool added,
                                char const* name,
                                char const* host,
                                unsigned short port,
                                std::vector<std::pair<std::string, std::string>>* txt,
                                unsigned int interfaceIndex) = 0;
    /// All changes known for now have been told.
    virtual void BrowseBatchDone(CNetServiceBrowser* browser) = 0;
};
