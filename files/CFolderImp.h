// One folder by POSIX calls.
#pragma once

#include "files/CBasicFolderImp.h"
#include "files/CFileSpec.h"
#include "foundation/CFileExceptionHandler.h"

class CFolderImp final : public CFileExceptionHandler, public CBasicFolderImp
{
public:
    explicit CFolderImp(CFileSpec const& folder);

    void Create() override;
    void Delete() override;

private:
    CFileSpec mFileSpec;
};
