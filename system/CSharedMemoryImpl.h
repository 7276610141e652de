// The thrower of the shared-memory domain.
#pragma once

/// What was being done: the context of an exception of `kSharedMemoryDomain`.
enum CSharedMemoryError
{
    kSharedMemoryAllocate = 1,
    kSharedMemoryOpenExisting = 2,
    kSharedMemoryClose = 3,
    kSharedMemoryDeallocate = 4,
};

class CSharedMemoryImpl
{
public:
    /// Throws for what `errno` holds at the call. `operation` is the name of the system call that
    /// failed.
    [[noreturn]] static void ThrowException(CSharedMemoryError error, char const* operation);
};
