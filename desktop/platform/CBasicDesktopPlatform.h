// What file specifiers need of the desktop: its folders, and what it knows of a file.
//
// Operations ask one question or give one order in plain types, never throw and decide nothing.
// Paths and names are UTF-16 unless they come as bytes, which are UTF-8. Any thread may call.
#pragma once

#include <optional>
#include <string>
#include <vector>

/// Where a folder is looked up: one of these, or the reference of a volume.
constexpr short kDesktopUserDomain = -32763;
constexpr short kDesktopLocalDomain = -32765;
constexpr short kDesktopSystemDisk = -32768;

/// How a look-up ended.
enum FolderLookup
{
    kFolderFound,
    kFolderUnknown,  ///< the desktop has no such folder
    kFolderPathless  ///< the folder is there, but no path leads to it
};

/// What the file's own record says. A symbolic link's is its own.
struct DesktopAttributes
{
    long mType = 0;                       ///< four characters, 0 if there is none
    long mCreator = 0;                    ///< four characters, 0 if there is none
    std::optional<double> mCreationDate;  ///< seconds since 1970-01-01 UTC
};

/// What the desktop keeps about a file.
struct DesktopResourceValues
{
    std::optional<long> mLabel;
    std::optional<bool> mIsHidden;
    std::optional<bool> mIsPackage;
};

class CBasicDesktopPlatform
{
public:
    CBasicDesktopPlatform() = default;
    CBasicDesktopPlatform(CBasicDesktopPlatform const&) = delete;
    CBasicDesktopPlatform& operator=(CBasicDesktopPlatform const&) = delete;
    virtual ~CBasicDesktopPlatform() = default;

    /// The path of the standard folder `type` (four characters) of a domain or of a volume. Makes
    /// the folder if it is missing. `path` is set with `kFolderFound` alone.
    virtual FolderLookup FindFolder(short domain, unsigned int type, std::u16string& path) = 0;
    /// The reference of the volume that a standard folder is on.
    virtual bool GetVolumeOfFolder(short domain, unsigned int type, short& volume) = 0;
    /// Mounts what a URL names, with no user and no password, and gives the reference of the
    /// volume. Blocks as long as that takes, and may ask the user.
    virtual bool MountServerVolume(std::string const& url, short& volume) = 0;
    /// The paths of all mounted volumes, in the system's order, without asking the volumes
    /// themselves; empty on failure.
    virtual std::vector<std::string> GetMountPoints() = 0;

    /// False if no file has a type or a creator: then nobody needs to look for one. The same in
    /// every call.
    virtual bool HasFileTypes() const = 0;
    virtual bool GetAttributes(std::u16string const& path, DesktopAttributes& attributes) = 0;
    /// Sets both codes, if it can.
    virtual void
    SetTypeCreator(std::u16string const& path, unsigned int type, unsigned int creator) = 0;
    /// The name as the desktop shows it.
    virtual std::u16string GetDisplayName(std::u16string const& path) = 0;
    virtual bool GetResourceValues(std::u16string const& path, DesktopResourceValues& values) = 0;
    /// Sets the colour label, 0 to 7, if it can.
    virtual void SetLabel(std::u16string const& path, unsigned int label) = 0;
    /// Makes a new folder on the volume of `path`, for what is to replace that file.
    virtual bool MakeReplacementFolder(std::u16string const& path, std::u16string& folder) = 0;
};

/// The platform in use. Any thread may call.
CBasicDesktopPlatform& DesktopPlatform();

/// A new one of the system's own, which the caller owns. Defined in the system's file.
CBasicDesktopPlatform* NewDesktopPlatform();

/// Puts another platform in use for a scope. For tests, while no other thread works with files.
class StDesktopPlatform
{
public:
    /// `platform` belongs to the caller and outlives the guard.
    explicit StDesktopPlatform(CBasicDesktopPlatform& platform);
    StDesktopPlatform(StDesktopPlatform const&) = delete;
    StDesktopPlatform& operator=(StDesktopPlatform const&) = delete;
    ~StDesktopPlatform();

private:
    CBasicDesktopPlatform* mFormer;  // not owned
};
