// What is behind a `CNetServiceBrowser`; operations are told there.
#pragma once

class CNetServiceBrowserListener;

class CBasiCNetServiceBrowserImpl
{
public:
    CBasiCNetServiceBrowserImpl() = default;
    CBasiCNetServiceBrowserImpl(CBasiCNetServiceBrowserImpl const&) = delete;
    CBasiCNetServiceBrowserImpl& operator=(CBasiCNetServiceBrowserImpl const&) = delete;
    virtual ~CBasiCNetServiceBrowserImpl() = default;

    // Virtual operations keep their order for ever; new ones go last.

    virtual bool BrowseService(char const* type,
                               bool allInterfaces,
                               bool anyDomain,
                               CNetServiceBrowserListener* listener) = 0;
    virtual void StopBrowsing() = 0;
};
