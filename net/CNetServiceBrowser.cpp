#include "net/CNetServiceBrowser.h"

#include "net/CNetServiceBrowserImpl.h"

CNetServiceBrowser::CNetServiceBrowser()
    : mImpl(new CNetServiceBrowserImpl(this))
{
}

CNetServiceBrowser::~CNetServiceBrowser()
{
    delete mImpl;
}

bool CNetServiceBrowser::BrowseService(char const* type,
                                       bool allInterfaces,
                                       bool anyDomain,
                                       CNetServiceBrowserListener* listener)
{
    return mImpl->BrowseService(type, allInterfaces, anyDomain, listener);
}

void CNetServiceBrowser::StopBrowsing()
{
    mImpl->StopBrowsing();
}
