// What stands behind a `CFile`: everything but byte order and lines. `CBasicFile.h` tells what each
// operation does.
#pragma once

#include "files/CBasicFile.h"
#include "files/CFileSpec.h"

#include <string>
#include <vector>

class CBasicFileImp
{
public:
    explicit CBasicFileImp(CFileSpec const& fileSpec);
    CBasicFileImp(CBasicFileImp const&) = delete;
    CBasicFileImp& operator=(CBasicFileImp const&) = delete;
    virtual ~CBasicFileImp() = default;

    // Virtual operations keep their order for ever; new ones go last.

    virtual void Create() = 0;
    virtual void Open(CBasicFile::PrivilegesEnum privileges) = 0;
    virtual bool IsOpen() = 0;
    virtual void Close() = 0;
    virtual void Delete() = 0;
    virtual void MoveToTrash() = 0;
    virtual void MakeAlias(CFileSpec const& target) = 0;
    virtual void Rename(std::u16string const& name, bool unique, bool overwrite) = 0;
    virtual void CopyTo(CFileSpec const& folder,
                        std::u16string const& name,
                        bool unique,
                        bool overwrite,
                        CFileSpec* result,
                        long long skipStart,
                        long long skipEnd) = 0;
    virtual void MoveTo(CFileSpec const& folder,
                        std::u16string const& name,
                        bool unique,
                        bool overwrite,
                        CFileSpec* result) = 0;
    /// The generic level: by moves alone, which any system has. A target that is there goes to its
    /// name with ".old" in its folder, this file takes its place, and the old target goes where
    /// this file was, or away. Nothing is rolled back: a failure of the second move leaves the
    /// target's name free and its content in the ".old" file, one of the third leaves that file
    /// beside it.
    virtual void ReplaceFile(CFileSpec const& target, bool keepReplaced);
    virtual void SetExcludeFromBackups(bool exclude) = 0;
    virtual bool GetExcludeFromBackups() const = 0;
    virtual void SetQuarantine() = 0;
    virtual void SetExtendedAttribute(std::string const& name, std::string const& value) = 0;
    virtual bool GetExtendedAttributeList(std::vector<std::string>& names) const = 0;
    virtual bool GetExtendedAttribute(std::string const& name, std::string& value) const = 0;
    virtual void ClearExtendedAttribute(std::string const& name) = 0;
    virtual long long GetLength() = 0;
    virtual void SetEOF(long long length) = 0;
    virtual void Flush() = 0;
    virtual long long GetCursorPos() = 0;
    virtual void SetCursorPos(long long offset, basic_binstream::cursorref_type reference) = 0;
    virtual bool GetDevicePhysicalPos(long long offset, long long& physical) const = 0;
    virtual long long Read(char* buffer, long long size) = 0;
    virtual long long Write(char const* buffer, long long size) = 0;
    /// The specifier itself, so that its owner sees moves at once.
    virtual CFileSpec* GetFileSpec();
    virtual bool WaitForModification() = 0;

protected:
    CFileSpec mFileSpec;
};
