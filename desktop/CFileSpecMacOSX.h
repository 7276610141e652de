// The desktop's body of a file specifier: what `CFileSpec` is made with on every system.
//
// To the path and the portable behaviour it adds what only the desktop knows, through the seam of
// desktop/platform/: standard folders, type and creator codes, type identifiers, labels, display
// names, what is hidden and what is shown as one file. Where the desktop doesn't know, the portable
// answer stands.
//
// What the desktop says of a file is asked for once and kept until `SetupFromFile`, that is until
// the object is pointed at a file anew; what is set in between doesn't show before. No answer isn't
// kept. Failures of the desktop are empty or false answers, and setters drop them; what the
// portable body throws passes through.
#pragma once

#include "desktop/platform/CBasicDesktopPlatform.h"
#include "files/CFileSpecImp.h"
#include "foundation/LoamExport.h"

#include <optional>
#include <string>

LOAM_OBJC_CLASS(NSString);
LOAM_OBJC_CLASS(NSURL);
struct FSRef;
typedef const struct __CFString* CFStringRef;
typedef const struct __CFURL* CFURLRef;

class CFileSpecMacOSX : public CFileSpecImp
{
public:
    CFileSpecMacOSX() = default;
    // Copies take the path and whether it stands for all volumes, and nothing that was read.
    explicit CFileSpecMacOSX(CFileSpec const& other);
    explicit CFileSpecMacOSX(CFileSpecImp const& other);
    CFileSpecMacOSX(CFileSpecMacOSX const& other);
    CFileSpecMacOSX(CFileSpec const& container, std::u16string const& name, bool unique);
    CFileSpecMacOSX(std::u16string path, bool unique);
    /// Looks the folder up with the desktop, or takes the portable one. For
    /// `cContainerMountedVolume` the name is looked for among the mounted volumes; for
    /// `cContainerNetworkVolume` it is a URL, which is mounted: that blocks for as long as the
    /// server takes.
    CFileSpecMacOSX(CBasicFileSpec::StdContainerEnum container,
                    std::u16string const& name,
                    bool unique);

    void SetupFromFile() override;
    void SetFileTypeCreator(unsigned int type, unsigned int creator) override;
    unsigned int GetFileLabel() const override;
    void SetFileLabel(unsigned int label) override;
    void GetDisplayFileName(std::u16string* name) const override;
    void GetFileTypeCreator(unsigned int* type, unsigned int* creator) const override;
    void GetNewTempFolderInSameVolume(CFileSpecImp* folder) const override;
    long GetFileCreationDateUTC() const override;
    bool IsRealFile(bool followLinks) const override;
    bool IsAlias() const override;
    bool IsDiskImage() const override;
    bool IsVisible() const override;
    bool IsOpaqueFolder() const override;
    void MountDiskImage() override;
    void GetVolumeInfo(std::string& mountPoint,
                       std::string& imagePath,
                       std::string& serverURL,
                       std::string& fileSystem,
                       bool& isNetwork,
                       CBasicFileSpec::VolumeType& type) const override;

    /// True for the container of all volumes: its entries are the volumes, not those of a folder.
    virtual bool IsVolumesEnumerator() const { return mIsVolumesEnumerator; }

    /// Asks the desktop for label, visibility and package, unless the answer is here already.
    void GetURLResourceValues() const;

    /// What `CFileSpec::GetUTIForAttributes` tells. The creator is never looked at.
    static void GetUTIForAttributes(std::u16string const& extension,
                                    unsigned int fileType,
                                    unsigned int creator,
                                    bool isFolder,
                                    std::string* uti);
    /// The identifier of an extension alone, for a folder a package's if there is one; asks the
    /// desktop at each call, as the next one does. Empty if there is none.
    static void UTIForExtension(std::u16string const& extension, bool isFolder, std::string& uti);
    /// The identifier of a file type alone. 0, four blanks and "????" are no type and have none.
    static void UTIForFileType(unsigned int fileType, std::string& uti);

    // With the desktop's own types; on macOS only. Those of a name with Create hand over a
    // reference that the caller releases, the others are autoreleased.

    bool GetFSRef(FSRef& ref) const;
    /// Null if the path makes no URL. It isn't marked as a folder's.
    NSURL* GetNSURL() const;
    CFURLRef CreateCFURL() const;
    NSString* GetPathNSString() const;
    CFStringRef CreatePathCFString() const;

protected:
    /// Follows what `path` is in three stages, each on the result of the one before: an alias of
    /// the desktop's, a location file, whose volume is mounted, and a symbolic link. What fails
    /// leaves the path as it is at that stage. Answers whether the last one led on.
    bool ResolveAliasStep(std::u16string& path) const override;

private:
    void TakeStandardFolder(CBasicFileSpec::StdContainerEnum container,
                            std::u16string const& name,
                            bool unique);
    void TakeMountedVolume(std::u16string const& name);
    void TakeNetworkVolume(std::u16string const& url, bool unique);
    void TakePortableFolder(CBasicFileSpec::StdContainerEnum container,
                            std::u16string const& name,
                            bool unique);
    void MakeInFolder(std::u16string const& folder, std::u16string const& name, bool unique);
    void FillAttributes() const;

    bool mIsVolumesEnumerator = false;
    bool mReserved = false;  // always false; nothing reads it
    // Filled by const operations, empty until then.
    mutable std::optional<DesktopAttributes> mAttributes;
    mutable std::optional<DesktopResourceValues> mResourceValues;
};
