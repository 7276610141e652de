#include "net/CNetService.h"

#include "net/CNetServiceImpl.h"

CNetService::CNetService()
    : mImpl(new CNetServiceImpl(this))
{
}

CNetService::~CNetService()
{
    delete mImpl;
}

bool CNetService::RegisterService(char const* name,
                                  char const* type,
                                  unsigned short port,
                                  char const* host,
                                  std::vector<std::pair<std::string, std::string>> const* txt,
                                  bool allInterfaces,
                                  bool anyDomain,
                                  CNetServiceListener* listener)
{
    return mImpl->RegisterService(name, type, port, host, txt, allInterfaces, anyDomain, listener);
}

void CNetService::UnregisterService()
{
    mImpl->UnregisterService();
}
