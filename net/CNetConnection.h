// TCP as hosts use it.
//
//     CNetConnection connection;
//     connection.ResolveRemoteHost("localhost", 8025);
//     connection.Connect(5);
//     connection.SendData("HELO\r\n", 5);
//     connection.ReceiveLine(&line, 5, 0);
//
// The first object makes the process ignore SIGPIPE, for good: what is sent to a peer that has gone
// fails as `kNetBrokenPipe` instead. Descriptors are closed in programs that the process starts.
#pragma once

#include "net/CBasicNetConnection.h"

class CBasicNetIntf;

class LOAM_EXPORT CNetConnection : public CBasicNetConnection
{
public:
    CNetConnection();
    /// Closes the connection. A server that wasn't disconnected goes on listening, for nobody,
    /// until the process ends.
    ~CNetConnection() override;

    void CancelCurrentOperation(CThread const* thread) override;
    void ResolveRemoteHost(std::string const& host, unsigned short port) override;
    void GetLocalHostName(std::string* name) override;
    void GetLocalHostAddr(std::string* address) override;
    void GetLocalHostAddresses(std::vector<std::string>& addresses) override;
    bool IsLocalIPAddress(std::string const& host) override;
    bool IsLocalIPAddress() override;
    void GetHostAddr(std::string const* host, std::string* address) override;
    void Connect(unsigned int timeoutSeconds) override;
    void Disconnect() override;
    unsigned short SetServerPort(bool allInterfaces,
                                 unsigned short firstPort,
                                 unsigned short lastPort,
                                 int backlog) override;
    CNetConnection* WaitClientConnection() override;
    void GetPeerHost(std::string* host, unsigned short& port) override;
    unsigned int
    SendData(char const* data, unsigned int size, unsigned int timeoutSeconds) override;
    unsigned int SendData(std::string const& data, unsigned int timeoutSeconds) override;
    void ReceiveData(char* buffer, unsigned int& size, unsigned int timeoutSeconds) override;
    bool ReceiveLine(char* buffer, unsigned int& size, unsigned int timeoutSeconds) override;
    void
    ReceiveLine(std::string* line, unsigned int timeoutSeconds, unsigned int maxLength) override;
    unsigned int GetAmountUnread() override;
    int GetStatus() override;

protected:
    CBasicNetIntf* mNetIntf;  // owned
};
