#include "system/platform/SharedMemorySpace.h"

#include <cerrno>
#include <csignal>

#include <fcntl.h>

// A shared-memory file system that is full would let the object grow, and answer the first write to
// a page that it has no memory for with SIGBUS.
int ReserveSharedMemory(int descriptor, unsigned long size)
{
    // The kernel undoes all of an interrupted reservation. With signals let in, the host's timer
    // could keep that of a large block from ever coming to its end.
    sigset_t all;
    sigset_t former;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &former);
    int error = 0;
    do {
        error = posix_fallocate(descriptor, 0, static_cast<off_t>(size));
    } while (error == EINTR);
    pthread_sigmask(SIG_SETMASK, &former, nullptr);
    return error;
}
