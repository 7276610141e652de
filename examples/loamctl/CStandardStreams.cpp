#include "loamctl/CStandardStreams.h"

#include <cerrno>
#include <system_error>
#include <utility>

#include <unistd.h>

#include "loamctl/CProgress.h"
#include "loamctl/Interruption.h"
#include "loamctl/WriteAll.h"

CStandardStreams::CStandardStreams(CProgress& progress)
    : mProgress(progress)
{
}

void CStandardStreams::Write(std::string_view lines)
{
    mProgress.Clear();
    int const error = WriteAll(STDOUT_FILENO, lines);
    if (error == EPIPE) throw COutputClosed();
    if (error == EINTR) ThrowIfInterrupted();
    if (error != 0) throw std::system_error(error, std::generic_category(), "standard output");
}

void CStandardStreams::WriteError(std::string_view lines)
{
    mProgress.Clear();
    WriteAll(STDERR_FILENO, lines);
}

void CStandardStreams::BeginGroup()
{
    if (std::exchange(mAnyGroup, true)) Write("\n");
}
