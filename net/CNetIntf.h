// TCP over POSIX sockets, and the thrower of the network domain.
//
// Waiting is done by `poll`, so that a descriptor may have any number. Every socket sits in a
// `CNetSocket`, which is what makes a cancel safe: see there.
#pragma once

#include "concurrency/CMutex.h"
#include "net/CBasicNetIntf.h"
#include "net/CNetSocket.h"

#include <atomic>

#include <sys/socket.h>

class CNetConnection;
struct addrinfo;

class CNetIntf : public CBasicNetIntf
{
public:
    /// `owner` is not owned and may be null. Makes the process ignore SIGPIPE.
    explicit CNetIntf(CNetConnection* owner);
    /// Closes the connection, and leaves a socket that still listens alone.
    ~CNetIntf() override;

    void CancelCurrentOperation() override;
    void ResolveRemoteHost(std::string const& host, unsigned short port) override;
    void GetLocalHostName(std::string* name) override;
    void GetLocalHostAddr(std::string* address) override;
    void GetLocalHostAddresses(std::vector<std::string>& addresses) override;
    void GetHostAddr(std::string const* host, std::string* address) override;
    void Connect(unsigned int timeoutSeconds) override;
    void Disconnect() override;
    unsigned short SetServerPort(bool allInterfaces,
                                 unsigned short firstPort,
                                 unsigned short lastPort,
                                 int backlog) override;
    CBasicNetIntf* WaitClientConnection() override;
    void GetPeerHost(std::string* host, unsigned short& port) override;
    unsigned int
    SendData(char const* data, unsigned int size, unsigned int timeoutSeconds) override;
    void ReceiveData(char* buffer, unsigned int& size, unsigned int timeoutSeconds) override;
    bool ReceiveLine(char* buffer, unsigned int& size, unsigned int timeoutSeconds) override;
    unsigned int GetAmountUnread() override;
    int GetStatus() override;
    bool IsLineWaiting() override;

    /// Always throws, also for `error` 0. `error` is an `errno` value, or a resolver's result plus
    /// 1000; `operation` is a `NetOperation`.
    [[noreturn]] static void ThrowNetConnectionException(int error, int operation);

private:
    static constexpr unsigned int kReadAhead = 1024;  // bytes

    int ConnectTo(addrinfo const& address, unsigned int timeoutSeconds);
    unsigned short ListenOn(unsigned short port, int backlog, int& error);
    unsigned short
    Listen(CNetSocket& slot, int family, unsigned short port, int backlog, int& error) const;
    int StopServer();
    CNetIntf* Accept(CNetSocket::StUse const& listener) const;
    unsigned int LengthOfLineHeld() const;
    unsigned int TakeHeld(char* buffer, unsigned int limit);
    void ReadAhead(unsigned int timeoutSeconds);

    CNetConnection* mOwner;              // not owned
    CMutex mMutex;                       // around look-ups
    addrinfo* mAddrInfo = nullptr;       // owned; what ResolveRemoteHost found
    sockaddr_storage mPeerAddress = {};  // of the client accepted
    CNetSocket mSocket;
    CNetSocket mListenSocket;
    CNetSocket mListenSocket2;
    std::atomic<unsigned short> mServerPort{0};  // a cancel asks for it
    char mLineBuffer[kReadAhead] = {};
    int mLineBufferCount = 0;  // bytes
    bool mReuseRequested = false;
    unsigned short mReusePort = 0;
    bool mAllInterfaces = false;
};
