// A file, for changing its content and its place in the file system.
//
//     CFile file(CFileSpec(u"/tmp/notes.txt", false));
//     file.Open(CFile::cPrivilegeRead);
//     char line[1025];
//     while (file.ReadLine(line, 1024, nullptr) > 0) ...
//
// The rules for all of it, and each operation, are told in `CBasicFile.h`. Mind that `ReadLine`
// writes `size` + 1 bytes (`buffer[size]` is its closing 0 when the buffer is full), and that
// `MoveToTrash` deletes for good.
#pragma once

#include "files/CBasicFile.h"
#include "files/CFileSpec.h"
#include "foundation/LoamExport.h"

#include <string>
#include <vector>

class CBasicFileImp;

/// Starts closed, in native byte order. Closes the file at its end, dropping what closing reports.
class LOAM_EXPORT CFile : public CBasicFile
{
public:
    explicit CFile(CFileSpec const& fileSpec);
    /// A copy has the place and the byte order of `other` and starts closed.
    CFile(CFile const& other);
    /// The same; a file that was open here is closed.
    CFile& operator=(CFile const& other);

    void SetFileEndianness(Endianness endianness) override;
    Endianness GetFileEndianness() const override;
    bool IsSwappingEndian() const override;

    ~CFile() override;

    bool Exist() override;
    bool Readable() override;
    bool Writeable() override;

    void Create() override;
    void Open(PrivilegesEnum privileges) override;
    bool IsOpen() override;
    void Close() override;
    void Delete() override;
    void MoveToTrash() override;
    void DeleteOrTrash() override;
    void DeleteOrTrashWithoutError() override;
    void MakeAlias(CFileSpec const& target) override;

    void Rename(std::u16string const& name, bool unique, bool overwrite) override;
    void Rename(std::string const& name, bool unique, bool overwrite) override;
    void CopyTo(CFileSpec const& folder,
                std::u16string const& name,
                bool unique,
                bool overwrite,
                CFileSpec* result,
                long long skipStart,
                long long skipEnd) override;
    void CopyTo(CFileSpec const& folder,
                std::string const& name,
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
    void MoveTo(CFileSpec const& folder,
                std::string const& name,
                bool unique,
                bool overwrite,
                CFileSpec* result) override;
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
    bool IsEOF() override;
    void Flush() override;
    long long GetCursorPos() override;
    void SetCursorPos(long long offset, basic_binstream::cursorref_type reference) override;
    bool GetDevicePhysicalPos(long long offset, long long& physical) const override;

    long long Read(char* buffer, long long size) override;
    long long ReadLine(char* buffer, long long size, EOLType* eol) override;
    long long Write(char const* buffer, long long size) override;

    long long ReadInt8(void* value) override;
    long long ReadInt16(void* value) override;
    long long ReadInt32(void* value) override;
    long long ReadInt64(void* value) override;
    long long ReadInt(void* value, long long size) override;
    long long ReadMultipleInt8(void* values, unsigned int count) override;
    long long ReadMultipleInt16(void* values, unsigned int count) override;
    long long ReadMultipleInt32(void* values, unsigned int count) override;
    long long ReadMultipleInt64(void* values, unsigned int count) override;
    long long ReadMultipleInt(void* values, long long size, unsigned int count) override;
    long long WriteInt8(void const* value) override;
    long long WriteInt16(void const* value) override;
    long long WriteInt32(void const* value) override;
    long long WriteInt64(void const* value) override;
    long long WriteInt(void const* value, long long size) override;
    long long WriteMultipleInt8(void const* values, unsigned int count) override;
    long long WriteMultipleInt16(void const* values, unsigned int count) override;
    long long WriteMultipleInt32(void const* values, unsigned int count) override;
    long long WriteMultipleInt64(void const* values, unsigned int count) override;
    long long WriteMultipleInt(void const* values, long long size, unsigned int count) override;

    CFileSpec* GetFileSpec() override;
    bool WaitForModification() override;

    /// Makes an empty file in a well-known folder, under `name` (UTF-8) or, where that is taken,
    /// with a number added, and leaves it closed; `result` gets its place. Of several callers that
    /// race for a name each gets a file of its own. A name that is taken by a link that leads
    /// nowhere throws `kFileExists`.
    static void CreateFileWithUniqueName(CFileSpec::StdContainerEnum container,
                                         std::string const& name,
                                         CFileSpec& result);

private:
    CBasicFileImp* mImp;  // owned
    Endianness mEndianness;
    bool mSwapping;
};
