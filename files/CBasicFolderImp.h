// What a system does with one folder; `CFolder` does all that takes more than one.
#pragma once

class CBasicFolderImp
{
public:
    CBasicFolderImp() = default;
    CBasicFolderImp(CBasicFolderImp const&) = delete;
    CBasicFolderImp& operator=(CBasicFolderImp const&) = delete;
    virtual ~CBasicFolderImp() = default;

    // Virtual operations keep their order for ever; new ones go last.

    /// Makes the folder, whose parent is there. Throws with `kFileCreate`.
    virtual void Create() = 0;
    /// Removes the folder, which is empty. Throws with `kFileDelete`.
    virtual void Delete() = 0;
};
