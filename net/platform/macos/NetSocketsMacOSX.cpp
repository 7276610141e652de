#include "net/platform/NetSockets.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace {

// There is no flag for it at birth: a program started just in between gets the descriptor.
int CloseOnExec(int descriptor)
{
    if (descriptor == -1 || fcntl(descriptor, F_SETFD, FD_CLOEXEC) != -1) return descriptor;
    int const error = errno;
    close(descriptor);
    errno = error;
    return -1;
}

}  // namespace

int NewSocket(int family, int type, int protocol)
{
    return CloseOnExec(socket(family, type, protocol));
}

int AcceptClient(int listener, sockaddr* address, socklen_t* length)
{
    return CloseOnExec(accept(listener, address, length));
}

// `shutdown` refuses a socket that isn't connected.
int StopListening(int listener)
{
    return disconnectx(listener, SAE_ASSOCID_ANY, SAE_CONNID_ANY);
}
