// File specifiers: the currency of every file operation.
//
//     CFileSpec const folder(u"/home/ann/documents", false);
//     CFileSpec const report(folder, u"report.txt", true);
//     if (report.IsInsideFolder(folder)) ...
//
// `CBasicFileSpec` says what each operation does, in what units, and how it fails. Mind that
// `MoveToTrash` deletes for good where the system has no trash, and that a name or path given as a
// `std::string` that isn't UTF-8 counts as empty: inside a folder it names the folder itself.
//
// Names inside a folder are made legal: "." and ".." become "_" and "__", each "/" becomes "_", and
// a name that the folder's file system is too narrow for is cut in front of its extension, counted
// in UTF-16 units, so that a long name in another script than ASCII may still be refused by the
// system. No other character is touched.
//
// A name is made unique by a blank and a number behind it, in front of the extension, beginning
// with 2: "report 2.txt". The number is signed and of 16 bits: -32768 follows 32767. It is free at
// that moment only; see `CFile::CreateFileWithUniqueName`. The constructors that do so throw what
// `CBasicFileSpec` tells about failures, also if all numbers are taken.
#pragma once

#include "files/CBasicFileSpec.h"
#include "foundation/LoamExport.h"

#include <string>

class CBasicFileSpecImp;

/// A value: a copy has the same path and nothing else of the original, nor what that one read from
/// the file system.
class LOAM_EXPORT CFileSpec : public CBasicFileSpec
{
public:
    /// An empty path.
    CFileSpec();
    CFileSpec(CFileSpec const& other);
    /// A specifier with the path of an implementation.
    explicit CFileSpec(CFileSpecImp const& imp);
    /// `name` inside `container`, made legal, and with `unique` made unique. An empty name gives
    /// the container's path with a "/" at its end.
    CFileSpec(CFileSpec const& container, std::u16string const& name, bool unique);
    CFileSpec(CFileSpec const& container, std::string const& name, bool unique);
    CFileSpec(StdContainerEnum container, std::u16string const& name, bool unique);
    CFileSpec(StdContainerEnum container, std::string const& name, bool unique);
    /// The well-known folder itself; the path ends with "/".
    explicit CFileSpec(StdContainerEnum container);
    /// With `unique` false the path exactly as it is given. Otherwise what stands behind its last
    /// "/" is made legal and unique in the folder before it.
    CFileSpec(std::u16string path, bool unique);
    CFileSpec(std::string const& path, bool unique);
    /// The old path stays until the new one is there, so that assignment to itself keeps the path.
    CFileSpec& operator=(CFileSpec const& other);
    /// The two change paths, without a copy.
    CFileSpec& operator=(CFileSpec&& other) noexcept;
    ~CFileSpec() override;

    void SetupFromFile() override;
    void SetFileTypeCreator(unsigned int type, unsigned int creator) override;
    unsigned int GetFileLabel() const override;
    void SetFileLabel(unsigned int label) override;
    bool operator==(CFileSpec const& other) const override;
    void GetFileName(std::u16string* name) const override;
    void GetFileName8bit(std::string* name) const override;
    void GetDisplayFileName(std::u16string* name) const override;
    void GetDisplayFileName(std::string* name) const override;
    void GetFileTypeCreator(unsigned int* type, unsigned int* creator) const override;
    void GetFullPath(std::u16string* path) const override;
    void GetFullPath8bit(std::string* path) const override;
    void GetExtension(std::u16string* extension) const override;
    void GetExtension8bit(std::string* extension) const override;
    void GetUTI(std::string* identifier) const override;
    CFileSpecImp* GetImp() const override;
    bool GetContainer(CFileSpec* container) const override;
    void GetVolume(CFileSpec* volume) const override;
    void GetNewTempFolderInSameVolume(CFileSpec* folder) const override;
    bool Exist() const override;
    bool Readable() const override;
    bool Writeable() const override;
    long long GetFileSize() const override;
    long long GetDiskCapacity() const override;
    long long GetAvailableDiskSpace() const override;
    long GetFileModifDateUTC() const override;
    long GetFileAccessDateUTC() const override;
    long GetFileAttributesModifDateUTC() const override;
    long GetFileCreationDateUTC() const override;
    bool IsFolder() const override;
    bool IsFolder(bool followLinks) const override;
    bool IsVolume() const override;
    bool IsRealFile() const override;
    bool IsRealFile(bool followLinks) const override;
    bool IsAlias() const override;
    bool IsDiskImage() const override;
    bool IsVisible() const override;
    bool IsOpaqueFolder() const override;
    bool HasOtherThanDFork() const override;
    void ResolveAlias() override;
    void MountDiskImage() override;
    void GetVolumeInfo(std::string& mountPoint,
                       std::string& imagePath,
                       std::string& serverURL,
                       std::string& fileSystem,
                       bool& isNetwork,
                       VolumeType& type) const override;
    void MoveToTrash() override;
    void Delete() override;
    void DeleteOrTrash() const override;
    void DeleteOrTrashWithoutError() const override;
    bool IsInsideFolder(CFileSpec const& folder) const override;
    void WriteToStream(basic_binstream& stream, CFileSpec const& base) const override;
    void ReadFromStream(basic_binstream& stream, CFileSpec const& base) override;
    bool Changed() const override;

    /// What stands behind the last dot of a name, if it is printable ASCII without the blank, and
    /// if the dot neither begins nor ends the name: *gz* of "archive.tar.gz", nothing of ".bashrc",
    /// "name." or "a.b c". A name of fewer than 3 units has none. Without an extension `result` is
    /// empty and the answer false.
    static bool GetExtension(std::u16string const& name, std::u16string& result);
    static bool GetExtension(std::string const& name, std::string& result);
    /// `result` is the name without its extension and the dot before it, or the whole name if it
    /// has none.
    static void RemoveExtension(std::u16string const& name, std::u16string& result);
    static void RemoveExtension(std::string const& name, std::string& result);

    /// Writes each byte that isn't in `CFileSpecURLReservedAndUnreservedCharacters` as "%" and two
    /// lower-case hexadecimal digits. The percent sign is in that set, so what is encoded already
    /// stays.
    static void PercentEncodeURL(std::string& url);
    /// Undoes what the encoder does and nothing more: "%20" becomes a blank, but "%41" stays, since
    /// the letter is in the set, and so does what isn't a percent sign and two hexadecimal digits
    /// of either case.
    static void PercentDecodeURL(std::string& url);

    /// The uniform type identifier of files or folders with these attributes, or nothing if it
    /// isn't known. The file type is asked about first, but for "TEXT", which says less than an
    /// extension does; the creator never. On Linux a table of the identifiers that macOS declares
    /// answers, whatever the case of an extension in ASCII; on macOS the system, which makes up an
    /// identifier ("dyn.") for an extension that it doesn't know.
    ///
    /// An answer, an empty one too, is kept as long as the process runs, for all who ask with the
    /// same extension and type: with them the first caller's `isFolder` holds. Any thread may call;
    /// one that asks what nobody asked before holds up the others until the system has answered.
    static void GetUTIForAttributes(std::u16string const& extension,
                                    unsigned int type,
                                    unsigned int creator,
                                    bool isFolder,
                                    std::string* result);

private:
    CBasicFileSpecImp* mImp;  // owned, never null
};

/// Writes the path as one string.
LOAM_EXPORT basic_binstream& operator<<(basic_binstream& stream, CFileSpec const& spec);
/// Reads a path as it was written; see `CBasicFileSpec::ReadFromStream` for what stays as it was.
LOAM_EXPORT basic_binstream& operator>>(basic_binstream& stream, CFileSpec& spec);
