#include "net/CNetConnection.h"

#include "foundation/StNotCancelled.h"
#include "net/CNetIntf.h"

#include <algorithm>
#include <exception>
#include <memory>

CBasicNetConnection::~CBasicNetConnection() = default;

CNetConnection::CNetConnection()
    : mNetIntf(new CNetIntf(this))
{
}

CNetConnection::~CNetConnection()
{
    StNotCancelled const notCancelled;
    delete mNetIntf;
}

void CNetConnection::CancelCurrentOperation(CThread const* thread)
{
    if (thread) mNetIntf->CancelCurrentOperation();
}

void CNetConnection::ResolveRemoteHost(std::string const& host, unsigned short port)
{
    mNetIntf->ResolveRemoteHost(host, port);
}

void CNetConnection::GetLocalHostName(std::string* name)
{
    mNetIntf->GetLocalHostName(name);
}

void CNetConnection::GetLocalHostAddr(std::string* address)
{
    mNetIntf->GetLocalHostAddr(address);
}

void CNetConnection::GetLocalHostAddresses(std::vector<std::string>& addresses)
{
    mNetIntf->GetLocalHostAddresses(addresses);
}

bool CNetConnection::IsLocalIPAddress(std::string const& host)
{
    std::string address = host;
    try {
        GetHostAddr(&host, &address);
    } catch (std::exception const&) {
        address = host;
    }
    try {
        std::vector<std::string> addresses;
        GetLocalHostAddresses(addresses);
        return std::find(addresses.begin(), addresses.end(), address) != addresses.end();
    } catch (std::exception const&) {
        return false;
    }
}

bool CNetConnection::IsLocalIPAddress()
{
    std::string host;
    try {
        unsigned short port = 0;
        GetPeerHost(&host, port);
    } catch (std::exception const&) {
        return false;
    }
    return IsLocalIPAddress(host);
}

void CNetConnection::GetHostAddr(std::string const* host, std::string* address)
{
    mNetIntf->GetHostAddr(host, address);
}

void CNetConnection::Connect(unsigned int timeoutSeconds)
{
    mNetIntf->Connect(timeoutSeconds);
}

void CNetConnection::Disconnect()
{
    mNetIntf->Disconnect();
}

unsigned short CNetConnection::SetServerPort(bool allInterfaces,
                                             unsigned short firstPort,
                                             unsigned short lastPort,
                                             int backlog)
{
    return mNetIntf->SetServerPort(allInterfaces, firstPort, lastPort, backlog);
}

CNetConnection* CNetConnection::WaitClientConnection()
{
    std::unique_ptr<CBasicNetIntf> accepted(mNetIntf->WaitClientConnection());
    auto* const client = new CNetConnection;
    delete client->mNetIntf;
    client->mNetIntf = accepted.release();
    return client;
}

void CNetConnection::GetPeerHost(std::string* host, unsigned short& port)
{
    mNetIntf->GetPeerHost(host, port);
}

unsigned int
CNetConnection::SendData(char const* data, unsigned int size, unsigned int timeoutSeconds)
{
    return mNetIntf->SendData(data, size, timeoutSeconds);
}

unsigned int CNetConnection::SendData(std::string const& data, unsigned int timeoutSeconds)
{
    return SendData(data.data(), static_cast<unsigned int>(data.size()), timeoutSeconds);
}

void CNetConnection::ReceiveData(char* buffer, unsigned int& size, unsigned int timeoutSeconds)
{
    mNetIntf->ReceiveData(buffer, size, timeoutSeconds);
}

bool CNetConnection::ReceiveLine(char* buffer, unsigned int& size, unsigned int timeoutSeconds)
{
    return mNetIntf->ReceiveLine(buffer, size, timeoutSeconds);
}

void CNetConnection::ReceiveLine(std::string* line,
                                 unsigned int timeoutSeconds,
                                 unsigned int maxLength)
{
    constexpr char kLineEnd[] = "\r\n";
    constexpr std::size_t kPart = 1024;
    // The line end isn't counted.
    std::size_t const limit = maxLength == 0 ? std::string::npos : std::size_t{maxLength} + 2;
    line->clear();
    for (;;) {
        char part[kPart];
        auto size = static_cast<unsigned int>(std::min(kPart, limit - line->size()));
        bool isWhole = false;
        try {
            isWhole = ReceiveLine(part, size, timeoutSeconds);
        } catch (...) {
            line->append(part, size);
            throw;
        }
        line->append(part, size);
        if (!isWhole && line->size() < limit) continue;

        // A blank line that ends before a line that is there already is not worth a call.
        bool const isBlank = line->find_first_not_of(kLineEnd) == std::string::npos;
        if (!isWhole || !isBlank || !mNetIntf->IsLineWaiting()) break;
        line->clear();
    }
    line->erase(0, line->find_first_not_of(kLineEnd));
    line->erase(line->find_last_not_of(kLineEnd) + 1);
}

unsigned int CNetConnection::GetAmountUnread()
{
    return mNetIntf->GetAmountUnread();
}

int CNetConnection::GetStatus()
{
    return mNetIntf->GetStatus();
}
