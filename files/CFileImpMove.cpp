// The operations of `CFileImp` that put a file, or what is in it, elsewhere.
#include "files/CFile.h"
#include "files/CFileImp.h"
#include "files/platform/CBasicFilePlatform.h"
#include "foundation/FailureDomains.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <limits>
#include <memory>

#include <sys/stat.h>

namespace {

constexpr long long kCopyBlock = 131072;

// Closes without a word, since another failure is on its way to the caller.
template <class File>
void CloseQuietly(File& file)
{
    try {
        if (file.IsOpen()) file.Close();
    } catch (...) {
        // The first failure is the one to tell.
    }
}

// The bytes of a file of `length` that lie between what is skipped at its start and at its end.
long long BytesBetween(long long length, long long skipStart, long long skipEnd)
{
    long long between = 0;
    if (__builtin_sub_overflow(length - skipStart, skipEnd, &between)) {
        return skipEnd < 0 ? std::numeric_limits<long long>::max() : 0;
    }
    return between;
}

}  // namespace

// Deleting this file to make room for itself would lose it. Where it has a second name, only the
// name that is in the way goes.
void CFileImp::MakeRoomAt(CFileSpec& target) const
{
    std::string targetPath;
    target.GetFullPath8bit(&targetPath);
    struct stat own;
    struct stat other;
    bool const isSameFile = stat(Path8bit().c_str(), &own) == 0 &&
                            lstat(targetPath.c_str(), &other) == 0 && own.st_dev == other.st_dev &&
                            own.st_ino == other.st_ino;
    bool const hasOneName = isSameFile && (own.st_nlink == 1 || S_ISDIR(own.st_mode));
    if (!hasOneName && !(target == mFileSpec)) target.Delete();
}

void CFileImp::Rename(std::u16string const& name, bool unique, bool overwrite)
{
    CFileSpec folder;
    mFileSpec.GetContainer(&folder);
    MoveTo(folder, name, unique, overwrite, nullptr);
}

void CFileImp::MoveTo(CFileSpec const& folder,
                      std::u16string const& name,
                      bool unique,
                      bool overwrite,
                      CFileSpec* result)
{
    CFileSpec target(folder, name, unique);
    if (overwrite && target.Exist()) MakeRoomAt(target);

    std::string const path = Path8bit();
    std::string targetPath;
    target.GetFullPath8bit(&targetPath);
    if (rename(path.c_str(), targetPath.c_str()) != 0) ThrowLastError(kFileMove);
    mFileSpec = target;
    if (result) *result = target;
}

// ---- Copying

void CFileImp::CopyTo(CFileSpec const& folder,
                      std::u16string const& name,
                      bool unique,
                      bool overwrite,
                      CFileSpec* result,
                      long long skipStart,
                      long long skipEnd)
{
    std::u16string targetName = name;
    if (name.empty()) mFileSpec.GetFileName(&targetName);
    if (unique) CFileSpec(folder, targetName, true).GetFileName(&targetName);

    CFileSpec target(folder, targetName, false);
    if (overwrite && target.Exist()) MakeRoomAt(target);
    if (result) *result = target;
    CopyContentTo(target, skipStart, skipEnd);
}

// All of it or an exception: a disk that takes only a part says why at the next write.
void CFileImp::WriteAll(CFile& copy, char const* bytes, long long count) const
{
    while (count > 0) {
        long long const written = copy.Write(bytes, count);
        if (written <= 0) {
            std::string path;
            copy.GetFileSpec()->GetFullPath8bit(&path);
            ThrowFileException(EIO, kFileWrite, path);
        }
        bytes += written;
        count -= written;
    }
}

void CFileImp::CopyContentTo(CFileSpec const& target, long long skipStart, long long skipEnd)
{
    auto const buffer = std::make_unique<char[]>(kCopyBlock);
    CFile copy(target);
    try {
        copy.Create();
        copy.Open(CBasicFile::cPrivilegeWrite);
        Open(CBasicFile::cPrivilegeRead);
        SetCursorPos(skipStart, basic_binstream::cursor_from_start);

        long long remaining = BytesBetween(GetLength(), skipStart, skipEnd);
        while (remaining > 0) {
            long long const asked = std::min(remaining, kCopyBlock);
            long long const count = Read(buffer.get(), asked);
            if (count <= 0) break;
            // Kept on purpose: what was asked for counts, not what came.
            remaining -= asked;
            WriteAll(copy, buffer.get(), count);
        }
        copy.Close();
        Close();
    } catch (...) {
        CloseQuietly(copy);
        CloseQuietly(*this);
        throw;
    }
}

// ---- Replacing

void CFileImp::ReplaceFile(CFileSpec const& target, bool keepReplaced)
{
    if (!target.Exist()) return CBasicFileImp::ReplaceFile(target, keepReplaced);

    CFileSpec folder;
    std::u16string name;
    std::string folderPath;
    mFileSpec.GetContainer(&folder);
    mFileSpec.GetFileName(&name);
    folder.GetFullPath8bit(&folderPath);

    std::string targetPath;
    target.GetFullPath8bit(&targetPath);
    CFileSpec backup;
    std::string backupName;
    if (keepReplaced) {
        CFileSpec targetFolder;
        std::u16string targetName;
        target.GetContainer(&targetFolder);
        target.GetFileName(&targetName);
        backup = CFileSpec(targetFolder, targetName + u".old", true);
        backup.GetFileName8bit(&backupName);
    }

    switch (FilePlatform().ReplaceObject(targetPath.c_str(), Path8bit().c_str(),
                                         keepReplaced ? backupName.c_str() : nullptr,
                                         folderPath.c_str())) {
    case kFileReplacedByMove:
        mFileSpec = target;
        break;
    case kFileReplacedByBackup:
        // Kept on purpose: the object goes on naming the old path.
        if (keepReplaced) CFile(backup).MoveTo(folder, name, false, false, nullptr);
        break;
    case kFileNotReplaced:
        CBasicFileImp::ReplaceFile(target, keepReplaced);
        break;
    }
}
