// Files by POSIX calls, and by the platform where POSIX has none.
#pragma once

#include "files/CBasicFileImp.h"
#include "foundation/CFileExceptionHandler.h"

class CFile;

class CFileImp : public CFileExceptionHandler, public CBasicFileImp
{
public:
    explicit CFileImp(CFileSpec const& fileSpec);
    ~CFileImp() override;

    void Create() override;
    void Open(CBasicFile::PrivilegesEnum privileges) override;
    bool IsOpen() override;
    void Close() override;
    void Delete() override;
    void MoveToTrash() override;
    void MakeAlias(CFileSpec const& target) override;
    void Rename(std::u16string const& name, bool unique, bool overwrite) override;
    void CopyTo(CFileSpec const& folder,
                std::u16string const& name,
                bool unique,
                bool overwrite,
                CFileSpec* result,
                long long skipStart,
                long long skipEnd) override;
    void MoveTo(CFileSpec const& folder,
                std::u16string const& name,
                bool unique,
                bool overwrite,
                CFileSpec* result) override;
    /// The platform level, in one step; the generic level if there is no target or the platform
    /// refuses.
    void ReplaceFile(CFileSpec const& target, bool keepReplaced) override;
    void SetExcludeFromBackups(bool exclude) override;
    bool GetExcludeFromBackups() const override;
    void SetQuarantine() override;
    void SetExtendedAttribute(std::string const& name, std::string const& value) override;
    bool GetExtendedAttributeList(std::vector<std::string>& names) const override;
    bool GetExtendedAttribute(std::string const& name, std::string& value) const override;
    void ClearExtendedAttribute(std::string const& name) override;
    long long GetLength() override;
    void SetEOF(long long length) override;
    void Flush() override;
    long long GetCursorPos() override;
    void SetCursorPos(long long offset, basic_binstream::cursorref_type reference) override;
    bool GetDevicePhysicalPos(long long offset, long long& physical) const override;
    long long Read(char* buffer, long long size) override;
    long long Write(char const* buffer, long long size) override;
    bool WaitForModification() override;

private:
    std::string Path8bit() const;
    /// Throws for what `errno` holds at the call.
    void ThrowLastError(int operation) const;
    /// A descriptor of the file, or -1 with the `errno` value in `error`.
    int OpenDescriptor(std::string const& path, int& error) const;
    void FollowNewFile();
    void EndWatch();
    /// Deletes what stands at `target`, unless that is this file itself.
    void MakeRoomAt(CFileSpec& target) const;
    void WriteAll(CFile& copy, char const* bytes, long long count) const;
    void CopyContentTo(CFileSpec const& target, long long skipStart, long long skipEnd);

    int mDescriptor = -1;  // owned; -1 when closed
    int mKqueue = -1;      // owned: a platform's watch; -1 until one is made
    CBasicFile::PrivilegesEnum mPrivileges = CBasicFile::cPrivilegeRead;  // of the last `Open`
};
