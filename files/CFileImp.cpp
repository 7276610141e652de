#include "files/CFileImp.h"

#include "files/platform/CBasicFilePlatform.h"
#include "foundation/FailureDomains.h"
#include "foundation/StNotCancelled.h"

#include <cerrno>
#include <iterator>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t kMaskOfNewFiles = 022;
constexpr mode_t kModeOfNewFiles = 0666;
constexpr int kNoSuchOperation = -2;
// By `basic_binstream::cursorref_type`.
constexpr int kWhence[] = {SEEK_SET, SEEK_END, SEEK_CUR};

}  // namespace

CFileImp::CFileImp(CFileSpec const& fileSpec)
    : CBasicFileImp(fileSpec)
{
}

CFileImp::~CFileImp()
{
    StNotCancelled const notCancelled;
    try {
        if (mDescriptor != -1) CFileImp::Close();
    } catch (...) {
        // Nobody is left to be told.
    }
    EndWatch();
}

std::string CFileImp::Path8bit() const
{
    std::string path;
    mFileSpec.GetFullPath8bit(&path);
    return path;
}

void CFileImp::ThrowLastError(int operation) const
{
    int const error = errno;
    ThrowFileException(error, operation, Path8bit());
}

// ---- Coming and going

void CFileImp::Create()
{
    std::string const path = Path8bit();
    // Kept on purpose: the process keeps this mask.
    umask(kMaskOfNewFiles);
    int const descriptor =
        open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kModeOfNewFiles);
    int const error = errno;
    if (descriptor == -1) return ThrowFileException(error, kFileCreate, path);
    close(descriptor);
}

int CFileImp::OpenDescriptor(std::string const& path, int& error) const
{
    if (mPrivileges == CBasicFile::cPrivilegeRead) {
        int const descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC, 0);
        error = errno;
        return descriptor;
    }
    int const access = mPrivileges == CBasicFile::cPrivilegeWrite ? O_WRONLY : O_RDWR;
    return FilePlatform().OpenLocked(path.c_str(), access | O_NONBLOCK | O_CLOEXEC, error);
}

void CFileImp::Open(CBasicFile::PrivilegesEnum privileges)
{
    mPrivileges = privileges;
    std::string const path = Path8bit();
    int const former = mDescriptor;
    int error = 0;
    mDescriptor = OpenDescriptor(path, error);
    // Only now: a writer that opens its file again meets its own lock.
    if (former != -1) close(former);
    if (mDescriptor == -1) ThrowFileException(error, kFileOpen, path);
}

bool CFileImp::IsOpen()
{
    return mDescriptor != -1;
}

void CFileImp::Close()
{
    // Kept on purpose: after a failure the object still counts as open.
    if (close(mDescriptor) != 0) ThrowLastError(kFileClose);
    mDescriptor = -1;
    EndWatch();
}

void CFileImp::Delete()
{
    std::string const path = Path8bit();
    bool const isFolder = mFileSpec.IsFolder(true);
    int const result = isFolder ? rmdir(path.c_str()) : unlink(path.c_str());
    if (result != 0) ThrowLastError(kFileDelete);
}

// Kept on purpose: there is no trash at this level, and the file is gone.
void CFileImp::MoveToTrash()
{
    Delete();
}

void CFileImp::MakeAlias(CFileSpec const&)
{
    ThrowFileException(kNoSuchOperation, kFileMakeAlias, std::string());
}

// ---- Content

long long CFileImp::GetLength()
{
    struct stat info = {};
    std::string const path = IsOpen() ? std::string() : Path8bit();
    int const result = IsOpen() ? fstat(mDescriptor, &info) : stat(path.c_str(), &info);
    if (result != 0) ThrowLastError(kFileStat);
    return info.st_size;
}

void CFileImp::SetEOF(long long length)
{
    if (ftruncate(mDescriptor, length) != 0) ThrowLastError(kFileSetEnd);
}

void CFileImp::Flush()
{
    fsync(mDescriptor);
}

long long CFileImp::GetCursorPos()
{
    long long const position = lseek(mDescriptor, 0, SEEK_CUR);
    if (position == -1) ThrowLastError(kFileGetCursor);
    return position;
}

void CFileImp::SetCursorPos(long long offset, basic_binstream::cursorref_type reference)
{
    auto const index = static_cast<std::size_t>(reference);
    int const whence = index < std::size(kWhence) ? kWhence[index] : SEEK_SET;
    if (lseek(mDescriptor, offset, whence) == -1) ThrowLastError(kFileSetCursor);
}

bool CFileImp::GetDevicePhysicalPos(long long offset, long long& physical) const
{
    long long found = -1;
    if (!FilePlatform().GetPhysicalPosition(mDescriptor, offset, found) || found == -1) {
        return false;
    }
    physical = found;
    return true;
}

// A negative size is one that the system refuses.
long long CFileImp::Read(char* buffer, long long size)
{
    long long const count = read(mDescriptor, buffer, static_cast<std::size_t>(size));
    if (count < 0) ThrowLastError(kFileRead);
    return count;
}

long long CFileImp::Write(char const* buffer, long long size)
{
    long long const count = write(mDescriptor, buffer, static_cast<std::size_t>(size));
    if (count < 0) ThrowLastError(kFileWrite);
    return count;
}

// ---- Watching

bool CFileImp::WaitForModification()
{
    if (mKqueue == -1) mKqueue = FilePlatform().MakeWatch();
    if (mKqueue < 0) return false;

    FileChange const change = FilePlatform().WaitOnWatch(mKqueue, mDescriptor, Path8bit().c_str());
    if (change == kFileWatchFailed) return false;
    if (change == kFileDeleted) FollowNewFile();
    return true;
}

// Closing would end the watch, which the new file goes on to use: it is set aside meanwhile, and is
// back also when there is no new file.
void CFileImp::FollowNewFile()
{
    int const watch = mKqueue;
    mKqueue = -1;
    try {
        Close();
        Open(mPrivileges);
    } catch (...) {
        mKqueue = watch;
        throw;
    }
    mKqueue = watch;
}

void CFileImp::EndWatch()
{
    if (mKqueue >= 0) FilePlatform().CloseWatch(mKqueue);
    mKqueue = -1;
}

// ---- Marks

void CFileImp::SetExcludeFromBackups(bool exclude)
{
    FilePlatform().SetBackupExclusion(Path8bit().c_str(), exclude);
}

bool CFileImp::GetExcludeFromBackups() const
{
    return FilePlatform().GetBackupExclusion(Path8bit().c_str());
}

void CFileImp::SetQuarantine()
{
    if (mFileSpec.Exist()) FilePlatform().SetQuarantine(Path8bit().c_str());
}

void CFileImp::SetExtendedAttribute(std::string const& name, std::string const& value)
{
    if (!mFileSpec.Exist()) return;
    FilePlatform().SetAttribute(Path8bit().c_str(), name.c_str(), value.data(), value.size());
}

bool CFileImp::GetExtendedAttribute(std::string const& name, std::string& value) const
{
    value.clear();
    if (!mFileSpec.Exist()) return false;

    std::string const path = Path8bit();
    long const size = FilePlatform().GetAttribute(path.c_str(), name.c_str(), nullptr, 0);
    // Without room the second call would ask for the size again, and get it for content.
    if (size <= 0) return size == 0;
    value.resize(static_cast<std::size_t>(size));
    long const count =
        FilePlatform().GetAttribute(path.c_str(), name.c_str(), value.data(), value.size());
    // Another process may have changed it between the two calls.
    value.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
    return count >= 0;
}

bool CFileImp::GetExtendedAttributeList(std::vector<std::string>& names) const
{
    names.clear();
    if (!mFileSpec.Exist()) return false;

    std::string const path = Path8bit();
    long const size = FilePlatform().ListAttributes(path.c_str(), nullptr, 0);
    if (size <= 0) return size == 0;
    std::string list(static_cast<std::size_t>(size), '\0');
    long const count = FilePlatform().ListAttributes(path.c_str(), list.data(), list.size());
    if (count < 0) return false;
    for (std::size_t at = 0; at < static_cast<std::size_t>(count); at += names.back().size() + 1) {
        names.emplace_back(list.c_str() + at);
    }
    return true;
}

void CFileImp::ClearExtendedAttribute(std::string const& name)
{
    if (!mFileSpec.Exist()) return;
    FilePlatform().SetAttribute(Path8bit().c_str(), name.c_str(), nullptr, 0);
}
