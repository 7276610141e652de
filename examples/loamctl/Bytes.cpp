#include "loamctl/Bytes.h"

#include <cerrno>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include "loamctl/CNewFile.h"
#include "loamctl/COutput.h"
#include "loamctl/Command.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Failure.h"
#include "loamctl/Interruption.h"
#include "marl/HierarchicalException.h"
#include "marl/amortizedmemblock.h"

namespace {

constexpr unsigned long kPiece = 1UL << 18;

class StDescriptor
{
public:
    explicit StDescriptor(int descriptor)
        : mDescriptor(descriptor)
    {
    }

    StDescriptor(StDescriptor const&) = delete;
    StDescriptor& operator=(StDescriptor const&) = delete;

    ~StDescriptor()
    {
        if (mDescriptor > STDERR_FILENO) close(mDescriptor);
    }

    int Get() const { return mDescriptor; }

private:
    int mDescriptor;
};

[[noreturn]] void ThrowUnreadable(std::string const& path, int error)
{
    throw CUsageError(
        fmt::format("{}: {}", SafeName(path), std::generic_category().message(error)));
}

}  // namespace

memblock ReadAllBytes(std::string const& path)
{
    StDescriptor const input(path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (input.Get() < 0) ThrowUnreadable(path, errno);
    amortizedmemblock bytes;
    for (unsigned long size = 0;;) {
        bytes.resize(size + kPiece);
        ssize_t const count = read(input.Get(), bytes.data() + size, kPiece);
        int const error = errno;
        ThrowIfInterrupted();
        if (count < 0 && error == EINTR) continue;
        if (count < 0) ThrowUnreadable(path, error);
        size += static_cast<unsigned long>(count);
        bytes.resize(size);
        if (count == 0) return memblock(std::move(bytes));
    }
}

void WriteBytes(memblock const& bytes, Target const& target, Session& session)
{
    std::string_view const view(bytes.data(), bytes.size());
    if (target.mPath.empty()) {
        session.mOutput.AddLines(view);
        session.mOutput.Flush();
        return;
    }
    try {
        CNewFile file(target.mPath, target.mOverwrite);
        file.Write(view);
        ThrowIfInterrupted();
        file.Keep();
    } catch (HierarchicalException const& failure) {
        throw CUsageError(fmt::format("{}: {}", SafeName(target.mPath), DescribeFailure(failure)));
    }
}
