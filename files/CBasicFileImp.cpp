#include "files/CBasicFileImp.h"

#include "files/CFile.h"

CBasicFileImp::CBasicFileImp(CFileSpec const& fileSpec)
    : mFileSpec(fileSpec)
{
}

void CBasicFileImp::ReplaceFile(CFileSpec const& target, bool keepReplaced)
{
    CFileSpec folder;
    std::u16string name;
    mFileSpec.GetContainer(&folder);
    mFileSpec.GetFileName(&name);

    CFileSpec targetFolder;
    std::u16string targetName;
    target.GetContainer(&targetFolder);
    target.GetFileName(&targetName);

    CFileSpec backup;
    bool const hasBackup = target.Exist();
    if (hasBackup) CFile(target).MoveTo(targetFolder, targetName + u".old", true, false, &backup);

    MoveTo(targetFolder, targetName, false, false, nullptr);

    if (!hasBackup) return;
    if (keepReplaced) {
        CFile(backup).MoveTo(folder, name, false, false, nullptr);
    } else {
        CFile(backup).DeleteOrTrashWithoutError();
    }
}

CFileSpec* CBasicFileImp::GetFileSpec()
{
    return &mFileSpec;
}
