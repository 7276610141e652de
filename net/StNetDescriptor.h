// A descriptor that is closed with the scope, and isn't 0.
#pragma once

#include "foundation/StNotCancelled.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

class StNetDescriptor
{
public:
    /// Takes over what a call of the system answered: -1, for no descriptor, too. 0, which means no
    /// socket to connections, is moved up; where no other number is free, it becomes -1 with
    /// `errno`.
    explicit StNetDescriptor(int descriptor)
        : mDescriptor(descriptor)
    {
        if (descriptor != 0) return;
        mDescriptor = fcntl(0, F_DUPFD_CLOEXEC, 1);
        int const error = errno;
        close(0);
        errno = error;
    }

    StNetDescriptor(StNetDescriptor const&) = delete;
    StNetDescriptor& operator=(StNetDescriptor const&) = delete;

    /// Leaves `errno` alone.
    ~StNetDescriptor()
    {
        if (mDescriptor == -1) return;
        StNotCancelled const notCancelled;
        int const error = errno;
        close(mDescriptor);
        errno = error;
    }

    int Get() const { return mDescriptor; }

    /// Hands the descriptor over to the caller.
    int Release()
    {
        int const descriptor = mDescriptor;
        mDescriptor = -1;
        return descriptor;
    }

private:
    int mDescriptor;
};
