#include "loamctl/CNewFile.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include "loamctl/DisplayText.h"
#include "loamctl/Failure.h"
#include "marl/HierarchicalException.h"
#include "text/CUTFConverter.h"

namespace {

// One process writes one file at a time, so its number tells its parts apart.
std::string PartPathOf(std::string const& path)
{
    std::size_t const slash = path.rfind('/');
    std::string const folder = slash == path.npos ? "" : path.substr(0, slash + 1);
    return fmt::format("{}.loamctl-{}.part", folder, getpid());
}

}  // namespace

CFileSpec SpecOfArgument(std::string const& path)
{
    std::u16string name;
    if (!CUTFConverter::ConvertUTF8toUTF16(path, name, CUTFConverter::kLenientMode)) {
        throw CUsageError("a path that is not UTF-8 can't be named: " + SafeName(path));
    }
    if (name.empty()) throw CUsageError("an empty path names nothing");
    return CFileSpec(name, false);
}

CNewFile::CNewFile(std::string const& path, bool overwrite)
    : mPath(path)
    , mPartPath(PartPathOf(path))
    , mPlace(SpecOfArgument(path))
    , mPart(std::make_unique<CFile>(SpecOfArgument(mPartPath)))
    , mOverwrite(overwrite)
{
    RefuseTaken(overwrite);
    // What a process of the same number left behind when it was killed.
    unlink(mPartPath.c_str());
    try {
        mPart->Create();
        mPart->Open(CFile::cPrivilegeWrite);
    } catch (HierarchicalException const&) {
        unlink(mPartPath.c_str());
        throw;
    }
}

CNewFile::~CNewFile()
{
    if (!mKept) unlink(mPartPath.c_str());
}

void CNewFile::RefuseTaken(bool overwrite)
{
    if (mPlace.IsFolder(true)) throw CUsageError(SafeName(mPath) + ": is a folder");
    struct stat found = {};
    if (!overwrite && lstat(mPath.c_str(), &found) == 0) {
        throw CUsageError(SafeName(mPath) + ": is there already (-f to replace it)");
    }
}

void CNewFile::TakeModeOf(std::string const& model)
{
    struct stat found = {};
    if (stat(model.c_str(), &found) == 0) chmod(mPartPath.c_str(), found.st_mode & 0777);
}

void CNewFile::Write(std::string_view bytes)
{
    WriteAll(bytes);
    mSize += static_cast<long long>(bytes.size());
}

void CNewFile::WriteAtStart(std::string_view bytes)
{
    mPart->SetCursorPos(0, basic_binstream::cursor_from_start);
    WriteAll(bytes);
    mPart->SetCursorPos(0, basic_binstream::cursor_from_end);
}

void CNewFile::WriteAll(std::string_view bytes)
{
    auto const size = static_cast<long long>(bytes.size());
    if (mPart->Write(bytes.data(), size) != size) {
        throw CUsageError(SafeName(mPath) + ": could not be written whole");
    }
}

void CNewFile::Keep()
{
    mPart->Flush();
    mPart->Close();
    RefuseTaken(mOverwrite);
    if (rename(mPartPath.c_str(), mPath.c_str()) != 0) {
        int const error = errno;
        throw CUsageError(
            fmt::format("{}: {}", SafeName(mPath), std::generic_category().message(error)));
    }
    mKept = true;
}
