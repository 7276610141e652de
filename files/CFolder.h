// Making and deleting folders.
//
// Deleting follows links to folders: what stands in the link's target is deleted, and then the link
// itself can't be removed, since it is no folder (category `kFileNotAFolder`). Ask `IsAlias` of
// what you hand over, and of what is in it, if that isn't wanted.
//
// A walk keeps the names of each folder on its way in memory and needs no more of the thread's
// stack for a deep tree than for a flat one; paths longer than the system takes end it with
// `kFileNameTooLong`. One object serves one thread at a time.
#pragma once

#include "files/CFileSpec.h"
#include "foundation/LoamExport.h"

class CBasicFolderImp;

class LOAM_EXPORT CFolder
{
public:
    explicit CFolder(CFileSpec const& folder);
    CFolder(CFolder const& other);
    CFolder& operator=(CFolder const& other);
    virtual ~CFolder();

    /// Makes the folder, with mode 0777 less the process's `umask`, and with `withParents` first
    /// all folders above it that are missing. A folder that is there already throws `kFileExists`,
    /// also with `withParents`; so does a path that ends with "/" when `withParents` made the
    /// folder itself as a parent. Parents made stay after a failure.
    void Create(bool withParents);

    /// With `deleteContent` deletes all that the folder holds, then with `deleteFolder` the folder
    /// itself. Stops at the first exception and leaves what it hasn't come to.
    void Delete(bool deleteFolder, bool deleteContent);

    /// The same, going on after each entry that can be neither deleted nor moved to the trash. Only
    /// the deleting is without errors: a folder that can't be listed still throws. A folder that
    /// was emptied already isn't entered again, so that links in a circle end.
    void DeleteOrTrashWithoutError(bool deleteFolder, bool deleteContent);

private:
    CBasicFolderImp* mImp;  // owned
    CFileSpec mFileSpec;
};
