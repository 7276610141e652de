#include "net/platform/NetSockets.h"

int NewSocket(int family, int type, int protocol)
{
    return socket(family, type | SOCK_CLOEXEC, protocol);
}

int AcceptClient(int listener, sockaddr* address, socklen_t* length)
{
    return accept4(listener, address, length, SOCK_CLOEXEC);
}

int StopListening(int listener)
{
    return shutdown(listener, SHUT_RDWR);
}
