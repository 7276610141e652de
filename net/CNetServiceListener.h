// Who is told what became of a registration.
#pragma once

class CNetService;

/// Derived from by the host, which owns it and keeps it until the service is unregistered.
class CNetServiceListener
{
public:
    CNetServiceListener() = default;
    CNetServiceListener(CNetServiceListener const&) = delete;
    CNetServiceListener& operator=(CNetServiceListener const&) = delete;
    virtual ~CNetServiceListener() = default;

    // Virtual operations keep their order for ever; new ones go last.

    /// `success`: the service can be found now; otherwise it can't, or no longer, and won't be
    /// tried again. On the library's events thread, so it should be short; it may unregister and
    /// delete `service`. An exception that leaves it ends the process.
    virtual void ServiceRegistered(CNetService* service, bool success) = 0;
};
