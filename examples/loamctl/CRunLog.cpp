#include "loamctl/CRunLog.h"

#include <cerrno>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include "files/CFileSpec.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Failure.h"
#include "loamctl/Reading.h"
#include "marl/HierarchicalException.h"
#include "text/CUTFConverter.h"

namespace {

[[noreturn]] void Refuse(std::string const& path, std::string const& reason)
{
    throw CUsageError(fmt::format("the log {}: {}", SafeName(path), reason));
}

}  // namespace

CFileSpec LogToWrite(std::string const& path)
{
    // A log is cut by way of its folder, which a name alone doesn't tell.
    std::u16string path16;
    std::string const absolute = path.empty() ? path : std::filesystem::absolute(path).string();
    if (!CUTFConverter::ConvertUTF8toUTF16(absolute, path16, CUTFConverter::kStrictMode) ||
        path16.empty()) {
        Refuse(path, "not the name of a file");
    }
    // Not to block on a pipe that nobody reads.
    int const flags = O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    int const descriptor = open(path.c_str(), flags, 0666);
    int const error = errno;
    if (descriptor == -1) Refuse(path, std::generic_category().message(error));
    close(descriptor);
    return CFileSpec(path16, false);
}

CRunLog::CRunLog(LogOptions const& options)
{
    if (options.mPath.empty()) return;
    try {
        mLog.OpenLogFile(LogToWrite(options.mPath), options.mMaxSize);
        mOpen = true;
    } catch (HierarchicalException const& failure) {
        Refuse(options.mPath, DescribeFailure(failure));
    }
}

void CRunLog::Say(std::string_view text)
{
    if (mOpen) mLog.TimedLog("%s\n", SafeName(text).c_str());
}

void CRunLog::Say(TreeEntry const& entry, Reading const& reading, std::string_view found)
{
    if (!mOpen) return;
    if (!reading.mReason.empty()) {
        Say(fmt::format("{} {} ({}: {})", reading.mError ? "failed" : "skipped", entry.mPath,
                        reading.mKind, reading.mReason));
    } else if (entry.mKind != TreeEntry::Kind::kFolder) {
        Say(fmt::format("read {} ({}, {}){}{}", entry.mPath, reading.mKind,
                        Counted(reading.mSize, "byte", "bytes"), found.empty() ? "" : ": ", found));
    }
}
