// What is behind a `CNetService`; operations are told there.
#pragma once

#include <string>
#include <utility>
#include <vector>

class CNetServiceListener;

class CBasiCNetServiceImpl
{
public:
    CBasiCNetServiceImpl() = default;
    CBasiCNetServiceImpl(CBasiCNetServiceImpl const&) = delete;
    CBasiCNetServiceImpl& operator=(CBasiCNetServiceImpl const&) = delete;
    virtual ~CBasiCNetServiceImpl() = default;

    // Virtual operations keep their order for ever; new ones go last.

    virtual bool RegisterService(char const* name,
                                 char const* type,
                                 unsigned short port,
                                 char const* host,
                                 std::vector<std::pair<std::string, std::string>> const* txt,
                                 bool allInterfaces,
                                 bool anyDomain,
                                 CNetServiceListener* listener) = 0;
    virtual void UnregisterService() = 0;
};
