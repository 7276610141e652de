// The portable body of a file specifier: a UTF-16 path and POSIX calls.
//
// Each system call converts the path to UTF-8 on the spot. The two kinds of `stat` are kept until
// `SetupFromFile`, or until an attribute is asked for a second time. `CFileSpecImp` objects are
// never assigned: see `Assign`.
#pragma once

#include "files/CBasicFileSpecImp.h"
#include "foundation/CFileExceptionHandler.h"

#include <string>

#include <sys/stat.h>

class CFileSpecImp : public CFileExceptionHandler, public CBasicFileSpecImp
{
public:
    CFileSpecImp() = default;
    // Copies take the path and nothing that was read from the file system.
    explicit CFileSpecImp(CFileSpec const& other);
    CFileSpecImp(CFileSpecImp const& other);
    CFileSpecImp(CBasicFileSpec::StdContainerEnum container,
                 std::u16string const& name,
                 bool unique);
    CFileSpecImp(CFileSpec const& container, std::u16string const& name, bool unique);
    CFileSpecImp(std::u16string path, bool unique);

    void SetupFromFile() override;
    bool IsEqualTo(CFileSpec const& other) const override;
    void GetFullPath(std::u16string* path) const override;
    void GetFullPath8bit(std::string* path) const override;
    void GetFileName(std::u16string* name) const override;
    void GetFileName8bit(std::string* name) const override;
    void GetDisplayFileName(std::u16string* name) const override;
    bool GetContainer(CFileSpecImp* container) const override;
    void GetVolume(CFileSpecImp* volume) const override;
    void GetNewTempFolderInSameVolume(CFileSpecImp* folder) const override;
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
    bool IsFolder(bool followLinks) const override;
    bool IsRealFile(bool followLinks) const override;
    bool IsAlias() const override;
    bool IsDiskImage() const override;
    bool IsVisible() const override;
    void ResolveAlias() override;
    void MountDiskImage() override;
    void GetVolumeInfo(std::string& mountPoint,
                       std::string& imagePath,
                       std::string& serverURL,
                       std::string& fileSystem,
                       bool& isNetwork,
                       CBasicFileSpec::VolumeType& type) const override;
    void WriteToStream(basic_binstream& stream) const override;
    void ReadFromStream(basic_binstream& stream) override;
    void WriteToStream(basic_binstream& stream, CFileSpec const& base) const override;
    void ReadFromStream(basic_binstream& stream, CFileSpec const& base) override;

    /// Takes a path as it is, as a new object would.
    virtual void Assign(std::u16string const& path);
    /// The folder in which volumes appear, with a "/" at its end.
    virtual void GetVolumesMountPoint(std::u16string* path) const;
    /// Follows the links that `path` itself may be, one after the other, to what isn't a link.
    /// Links that run in a circle leave `path` as it came.
    virtual void ResolveAlias(std::u16string& path);
    /// True if the path is longer than the extension and ends with it, case set aside. A missing
    /// dot is put in front; an empty extension, or one that isn't UTF-8, is on no path.
    virtual bool HasCaseUnsensitiveExtension(char const* extension) const;

    /// The file's `stat`, or its `lstat`, from the system or as it is kept here; valid until the
    /// next call on this object. Throws with `kFileStat`.
    struct stat const* GetStat(bool followLinks) const;

    /// Points this object at `name` in `container`: see `CFileSpec`. Throws with `kFileStat` if the
    /// system can't tell whether a name is taken, and with `EOVERFLOW` if all numbers are.
    void MakeFileSpecInContainer(CFileSpecImp* container, std::u16string const& name, bool unique);

    /// Makes a name legal in `container` and leaves room for `reserved` units, which may be cut
    /// between the two units of a pair.
    static void
    ValidateFileName(CFileSpecImp const* container, std::u16string& name, short reserved);

protected:
    /// One step of `ResolveAlias`: false if `path` leads no further. Replaces `path` otherwise.
    /// What resolves more kinds of links overrides this.
    virtual bool ResolveAliasStep(std::u16string& path) const;

    std::u16string mPath;

    // The stats hold nothing while they are not valid, and aren't cleared: most specifiers never
    // look at their file.
    mutable bool mFollowedStatValid = false;
    mutable struct stat mFollowedStat;
    mutable bool mLinkStatValid = false;
    mutable struct stat mLinkStat;

    // Set once the attribute has been asked for: the second time its caller wants to know how it is
    // now.
    mutable bool mSizeRead = false;
    mutable bool mModifDateRead = false;
    mutable bool mAccessDateRead = false;
    mutable bool mAttrDateRead = false;

private:
    std::string Path8bit() const;
    bool CanAccess(int mode) const;
    int TryStat(bool followLinks) const;
    bool HasFileType(bool followLinks, mode_t type) const;
    struct stat const* StatFor(bool& attributeRead) const;
    std::u16string
    PathInContainer(CFileSpecImp const& container, std::u16string const& name, bool unique) const;
    bool IsTaken(std::u16string const& path) const;
};
