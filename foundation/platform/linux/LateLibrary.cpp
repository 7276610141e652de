#include "foundation/platform/linux/LateLibrary.h"

#include <cstdio>
#include <cstdlib>

#include <dlfcn.h>

bool CLateLibrary::IsThere()
{
    if (mHandle.load(std::memory_order_acquire)) return true;
    // Of two threads both may load it: the system counts, and nobody ever unloads it.
    void* const handle = dlopen(mFile, RTLD_NOW | RTLD_LOCAL);
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
