// The body of a file specifier. `CBasicFileSpec` says what the operations mean; what has a default
// here is for bodies that know nothing better.
#pragma once

#include "files/CBasicFileSpec.h"

#include <string>

class CBasicFileSpecImp
{
public:
    CBasicFileSpecImp() = default;
    CBasicFileSpecImp(CBasicFileSpecImp const&) = delete;
    CBasicFileSpecImp& operator=(CBasicFileSpecImp const&) = delete;
    virtual ~CBasicFileSpecImp() = default;

    // Virtual operations keep their order for ever; new ones go last.

    virtual void SetupFromFile() = 0;
    virtual void SetFileTypeCreator(unsigned int type, unsigned int creator);

    virtual unsigned int GetFileLabel() const { return 0; }

    virtual void SetFileLabel(unsigned int label);
    virtual bool IsEqualTo(CFileSpec const& other) const = 0;
    virtual void GetFullPath(std::u16string* path) const = 0;
    virtual void GetFullPath8bit(std::string* path) const = 0;
    virtual void GetFileName(std::u16string* name) const = 0;
    virtual void GetFileName8bit(std::string* name) const = 0;
    virtual void GetDisplayFileName(std::u16string* name) const = 0;
    virtual void GetFileTypeCreator(unsigned int* type, unsigned int* creator) const;
    virtual bool GetContainer(CFileSpecImp* container) const = 0;
    virtual void GetVolume(CFileSpecImp* volume) const = 0;
    virtual void GetNewTempFolderInSameVolume(CFileSpecImp* folder) const = 0;
    virtual bool Exist() const = 0;
    virtual bool Readable() const = 0;
    virtual bool Writeable() const = 0;
    virtual long long GetFileSize() const = 0;
    virtual long long GetDiskCapacity() const = 0;
    virtual long long GetAvailableDiskSpace() const = 0;
    virtual long GetFileModifDateUTC() const = 0;
    virtual long GetFileAccessDateUTC() const = 0;
    virtual long GetFileAttributesModifDateUTC() const = 0;
    virtual long GetFileCreationDateUTC() const = 0;
    virtual bool IsFolder(bool followLinks) const = 0;
    /// Compares the path with what `GetVolume` gives, in UTF-8.
    virtual bool IsVolume() const;
    virtual bool IsRealFile(bool followLinks) const = 0;
    virtual bool IsAlias() const = 0;
    virtual bool IsDiskImage() const = 0;
    virtual bool IsVisible() const = 0;

    virtual bool IsOpaqueFolder() const { return false; }

    virtual bool HasOtherThanDFork() const { return false; }

    virtual void ResolveAlias() = 0;
    virtual void MountDiskImage() = 0;
    virtual void GetVolumeInfo(std::string& mountPoint,
                               std::string& imagePath,
                               std::string& serverURL,
                               std::string& fileSystem,
                               bool& isNetwork,
                               CBasicFileSpec::VolumeType& type) const = 0;
    virtual void WriteToStream(basic_binstream& stream) const = 0;
    virtual void ReadFromStream(basic_binstream& stream) = 0;
    virtual void WriteToStream(basic_binstream& stream, CFileSpec const& base) const = 0;
    virtual void ReadFromStream(basic_binstream& stream, CFileSpec const& base) = 0;

    virtual bool Changed() const { return mChanged; }

    /// A path was given from outside.
    void SetChanged() { mChanged = true; }

protected:
    /// For the body of a specifier that is made with a path, or made from another one.
    explicit CBasicFileSpecImp(bool changed)
        : mChanged(changed)
    {
    }

    bool mChanged = false;  ///< nothing clears it
};
