#include "system/platform/SharedMemorySpace.h"

// Its shared memory is anonymous memory and takes the swap file, not a file system of limited size.
int ReserveSharedMemory(int, unsigned long)
{
    return 0;
}
