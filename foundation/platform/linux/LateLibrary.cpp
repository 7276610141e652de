#include "foundation/platform/linux/LateLibrary.h"

#include <cstdio>
#include <cstdlib>

#include <dlfcn.h>
#include <pthread.h>

bool CLateLibrary::IsThere()
{
    if (mHandle.load(std::memory_order_acquire)) return true;
    // What a library does when it is loaded may be where a thread is cancelled, which would keep
    // the loader's lock.
    int former = 0;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &former);
    // Of two threads both may load it: the system counts, and nobody ever unloads it.
    void* const handle = dlopen(mFile, RTLD_NOW | RTLD_LOCAL);
    pthread_setcancelstate(former, &former);
    if (handle) mHandle.store(handle, std::memory_order_release);
    return handle != nullptr;
}

void* CLateLibrary::Find(char const* function)
{
    void* const found =
        IsThere() ? dlsym(mHandle.load(std::memory_order_relaxed), function) : nullptr;
    if (!found) {
        std::fprintf(stderr, "%s: no %s\n", mFile, function);
        std::abort();
    }
    return found;
}
