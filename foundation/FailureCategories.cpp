#include "foundation/FailureCategories.h"

#include "foundation/FailureDomains.h"

#include <cerrno>

namespace {

struct Row
{
    int mError;
    int mCategory;
};

constexpr Row kFileRows[] = {
    {ENAMETOOLONG, kFileNameTooLong},
    {ENOENT, kFileNotFound},
    {ENOTDIR, kFileNotAFolder},
    {EACCES, kFileAccessDenied},
    {EROFS, kFileAccessDenied},
    // What an exclusive open that doesn't wait gets for a file that another writer holds.
    {EAGAIN, kFileAccessDenied},
    {EEXIST, kFileExists},
    {EPERM, kFileNotPermitted},
};

constexpr int kResolverBand = 1000;
constexpr int kResolverSpecial = 2001;

constexpr Row kNetRows[] = {
    {EAGAIN, kNetTimedOut},      {ETIMEDOUT, kNetTimedOut},
    {EPERM, kNetNotPermitted},   {EADDRNOTAVAIL, kNetNotPermitted},
    {EINTR, kNetInterrupted},    {EACCES, kNetRefused},
    {EADDRINUSE, kNetRefused},   {ECONNREFUSED, kNetRefused},
    {ECONNABORTED, kNetAborted}, {ENETUNREACH, kNetUnreachable},
    {EPIPE, kNetBrokenPipe},
};

constexpr Row kThreadRows[] = {
    {ENOMEM, kThreadNoMemory},
};

constexpr Row kSharedMemoryRows[] = {
    {EACCES, kSharedMemoryAccessDenied}, {EROFS, kSharedMemoryAccessDenied},
    {EEXIST, kSharedMemoryExists},       {ENFILE, kSharedMemoryTooManyFiles},
    {EMFILE, kSharedMemoryTooManyFiles}, {ENAMETOOLONG, kSharedMemoryNameTooLong},
    {ENOENT, kSharedMemoryNotFound},     {ENOSPC, kSharedMemoryNoSpace},
    {EIO, kSharedMemoryInputOutput},
};

template <unsigned long N>
int Find(Row const (&rows)[N], int error) noexcept
{
    for (Row const& row : rows) {
        if (row.mError == error) return row.mCategory;
    }
    return kOtherFailure;
}

}  // namespace

int FileCategoryOf(int error) noexcept
{
    return Find(kFileRows, error);
}

int NetCategoryOf(int error) noexcept
{
    if (error == kResolverSpecial) return kNetResolverSpecial;
    if (error > kResolverBand) return kNetResolver;
    return Find(kNetRows, error);
}

int ThreadCategoryOf(int error) noexcept
{
    return Find(kThreadRows, error);
}

int SharedMemoryCategoryOf(int error) noexcept
{
    return Find(kSharedMemoryRows, error);
}
