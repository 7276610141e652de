// What a network connection is made of: the operations of `CNetConnection` that aren't put together
// from others.
#pragma once

#include <string>
#include <vector>

/// Each operation does what `CBasicNetConnection` says of the one of its name.
class CBasicNetIntf
{
public:
    CBasicNetIntf() = default;
    CBasicNetIntf(CBasicNetIntf const&) = delete;
    CBasicNetIntf& operator=(CBasicNetIntf const&) = delete;

    // Virtual operations keep their order for ever; new ones go last.

    virtual ~CBasicNetIntf() = default;
    virtual void CancelCurrentOperation() = 0;
    virtual void ResolveRemoteHost(std::string const& host, unsigned short port) = 0;
    virtual void GetLocalHostName(std::string* name) = 0;
    virtual void GetLocalHostAddr(std::string* address) = 0;
    virtual void GetLocalHostAddresses(std::vector<std::string>& addresses) = 0;
    virtual void GetHostAddr(std::string const* host, std::string* address) = 0;
    virtual void Connect(unsigned int timeoutSeconds) = 0;
    virtual void Disconnect() = 0;
    virtual unsigned short SetServerPort(bool allInterfaces,
                                         unsigned short firstPort,
                                         unsigned short lastPort,
                                         int backlog) = 0;
    /// The caller owns what comes.
    virtual CBasicNetIntf* WaitClientConnection() = 0;
    virtual void GetPeerHost(std::string* host, unsigned short& port) = 0;
    virtual unsigned int
    SendData(char const* data, unsigned int size, unsigned int timeoutSeconds) = 0;
    virtual void ReceiveData(char* buffer, unsigned int& size, unsigned int timeoutSeconds) = 0;
    virtual bool ReceiveLine(char* buffer, unsigned int& size, unsigned int timeoutSeconds) = 0;
    virtual unsigned int GetAmountUnread() = 0;
    virtual int GetStatus() = 0;
    /// Whether the end of a line can be received without waiting.
    virtual bool IsLineWaiting() = 0;
};
