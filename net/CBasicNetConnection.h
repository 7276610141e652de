// A blocking TCP connection, of either side, that another thread can cancel.
//
// What a host may rely on, wherever the connection came from:
// - A client resolves a host and connects. A server binds a port and waits; each client that comes
//   is a connection of its own, which the caller owns.
// - IPv4 is preferred: IPv6 is tried for a host that has no IPv4 address.
// - A time-out is in whole seconds, 0 for none, and holds for each single wait, not for the whole:
//   a peer that sends a byte now and then never runs into it.
// - `CancelCurrentOperation` alone may come from another thread while a call is blocked. All else
//   is for one thread at a time.
//
// An action that fails throws `HierarchicalException` of `kNetConnectionDomain` with one of
// `NetOperation` as its context; a time-out is `kNetTimedOut`, a signal `kNetInterrupted`, the end
// of the stream `kNetBrokenPipe`, and a call that finds no connection `kOtherFailure` with `EBADF`.
// The object can be used again. Text is bytes as they come, host names and addresses as the system
// writes them.
#pragma once

#include "foundation/LoamExport.h"

#include <string>
#include <vector>

class CNetConnection;
class CThread;

class LOAM_EXPORT CBasicNetConnection
{
public:
    CBasicNetConnection() = default;
    CBasicNetConnection(CBasicNetConnection const&) = delete;
    CBasicNetConnection& operator=(CBasicNetConnection const&) = delete;

    // Virtual operations keep their order for ever; new ones go last.

    virtual ~CBasicNetConnection();

    /// Ends the blocked call of another thread, and the connection or the server with it: a
    /// receiver gets `kNetBrokenPipe`, or what had come; a sender the number of bytes that went
    /// out, or a failure; `Connect` a failure; `WaitClientConnection` `kNetAborted`. Does nothing
    /// where `thread` is null; otherwise it says only that there is one, and isn't looked at. The
    /// descriptors are closed when the calls on them have returned. A look-up can't be cancelled,
    /// and a call that comes while there is no socket has nothing to act on. Fails with
    /// `kNetDisconnect`.
    virtual void CancelCurrentOperation(CThread const* thread) = 0;

    /// Looks up a name or a numeric address for `Connect`. Blocks as long as the resolver does.
    /// Fails as `kNetResolver`; the host looked up before is forgotten then.
    virtual void ResolveRemoteHost(std::string const& host, unsigned short port) = 0;
    /// `name` may be null.
    virtual void GetLocalHostName(std::string* name) = 0;
    /// The IPv4 address of the first interface that has one: often that of the loopback.
    virtual void GetLocalHostAddr(std::string* address) = 0;
    /// All addresses of this machine: each IPv4 address as it is and as "::ffff:1.2.3.4", the form
    /// in which an IPv6 server sees such a peer, and after them the IPv6 addresses. Replaces what
    /// `addresses` held.
    virtual void GetLocalHostAddresses(std::vector<std::string>& addresses) = 0;
    /// Whether `host`, a name or an address, is this machine. Never throws.
    virtual bool IsLocalIPAddress(std::string const& host) = 0;
    /// Whether the client accepted is this machine. Never throws.
    virtual bool IsLocalIPAddress() = 0;
    /// The numeric address of `*host`. `address` may be null. Blocks as long as the resolver does.
    virtual void GetHostAddr(std::string const* host, std::string* address) = 0;

    /// Tries the addresses of the last `ResolveRemoteHost`, one after the other; without one it
    /// fails with error 1. A connection that is open is closed first. Blocks as long as the system
    /// takes to connect: the time-out doesn't shorten that.
    virtual void Connect(unsigned int timeoutSeconds) = 0;
    /// Closes the connection and stops serving. What was resolved stays, so that `Connect` works
    /// again, and the next `SetServerPort` may have the same port at once.
    virtual void Disconnect() = 0;

    /// Serves the first port from `firstPort` to `lastPort` that can be had, and answers it; 0 lets
    /// the system choose. For all interfaces, or for this machine alone; by IPv6 and IPv4 where
    /// there are both. `backlog` clients may wait to be taken. A server that stood before is
    /// stopped. Fails with `kNetConnect` and the error of the last port tried.
    virtual unsigned short SetServerPort(bool allInterfaces,
                                         unsigned short firstPort,
                                         unsigned short lastPort,
                                         int backlog) = 0;
    /// The next client, connected; the caller owns it, and may use it after the server has gone.
    /// Blocks without limit. Fails as `kNetAborted` once the server is stopped, also if it never
    /// stood.
    virtual CNetConnection* WaitClientConnection() = 0;
    /// Where the client accepted comes from, as a numeric address. `host` may be null. Fails with
    /// `kNetResolve` on a connection of the connecting side.
    virtual void GetPeerHost(std::string* host, unsigned short& port) = 0;

    /// Sends what the system takes at once, which may be less than all, and answers how many bytes
    /// that were.
    virtual unsigned int
    SendData(char const* data, unsigned int size, unsigned int timeoutSeconds) = 0;
    virtual unsigned int SendData(std::string const& data, unsigned int timeoutSeconds) = 0;
    /// Fills `buffer` with `size` bytes. At the end of the stream `size` becomes what had come, and
    /// if that is nothing, it throws. When it throws, `size` is what has been put into the buffer
    /// and isn't there to be received again.
    virtual void ReceiveData(char* buffer, unsigned int& size, unsigned int timeoutSeconds) = 0;

    /// Receives up to `size` bytes, and no further than to the end of the line. True if they end
    /// with a line feed; `size` becomes their number, also when it throws.
    virtual bool ReceiveLine(char* buffer, unsigned int& size, unsigned int timeoutSeconds) = 0;
    /// Receives a line, without the CR and LF around it, of at most `maxLength` bytes, 0 for any
    /// number; of a longer one the rest comes with the next call. Blank lines are passed over while
    /// a whole line waits behind them. When it throws, `line` holds what had come of it, with its
    /// CR and LF.
    virtual void
    ReceiveLine(std::string* line, unsigned int timeoutSeconds, unsigned int maxLength) = 0;
    /// Bytes that can be received without waiting.
    virtual unsigned int GetAmountUnread() = 0;
    /// Always 8.
    virtual int GetStatus() = 0;
};
