#include "files/CFolderImp.h"

#include "foundation/FailureDomains.h"

#include <cerrno>

#include <sys/stat.h>
#include <unistd.h>

CFolderImp::CFolderImp(CFileSpec const& folder)
    : mFileSpec(folder)
{
}

void CFolderImp::Create()
{
    std::string path;
    mFileSpec.GetFullPath8bit(&path);
    int const error = mkdir(path.c_str(), 0777) == 0 ? 0 : errno;
    ThrowFileException(error, kFileCreate, path);
}

void CFolderImp::Delete()
{
    std::string path;
    mFileSpec.GetFullPath8bit(&path);
    int const error = rmdir(path.c_str()) == 0 ? 0 : errno;
    ThrowFileException(error, kFileDelete, path);
}
