// What a file specifier answers and does.
//
// A specifier is a path and nothing else: it need not exist, isn't normalised, and is compared unit
// by unit. Text is UTF-16, and UTF-8 in the operations with `std::string`; sizes are in bytes,
// dates in seconds since 1970-01-01 UTC (`CDateTimeServices`). Pointers to results are not checked,
// and results are replaced in full, unless it says otherwise.
//
// Failures: a question (`Exist`, `Is...`) answers false. The size, the dates and the disk space
// throw `HierarchicalException` of `kFileDomain`, with the path as its text. System calls take the
// path in UTF-8 and end it at its first null unit; a surrogate without its partner reaches them as
// U+FFFD.
//
// One object serves one thread at a time, const operations too, since they fill caches.
#pragma once

#include "foundation/LoamExport.h"

#include <string>

class CFileSpec;
class CFileSpecImp;
class basic_binstream;

class LOAM_EXPORT CBasicFileSpec
{
public:
    /// Well-known folders. The values are fixed; any other acts as `cContainerDesktop`.
    ///
    /// The desktop's own folders are taken where it knows them. Otherwise both temporary ones are
    /// "/tmp", the boot volume and all volumes are "/", and all others are the folder that the
    /// environment variable `HOME` names, or "~", not expanded, if it is not set or not UTF-8; a
    /// volume that isn't mounted and can't be is named in "/Volumes/", with a name made unique.
    enum StdContainerEnum
    {
        cContainerTemporary = 0,
        cContainerDesktop = 1,
        cContainerLogs = 2,
        cContainerUserAppSupport = 3,
        cContainerUserLibrary = 4,
        cContainerPreferences = 5,
        cContainerBootVolume = 6,
        /// The root of the mounted volume that the name argument names, by the folder that it is
        /// mounted on or by the name that the desktop shows.
        cContainerMountedVolume = 7,
        /// The root of the volume whose URL is the name argument. The desktop mounts it, which
        /// blocks for as long as the server takes.
        cContainerNetworkVolume = 8,
        cContainerAllVolumes = 9,  ///< the folder of all volumes, which is no real one
        cContainerMachineLibrary = 10,
        cContainerSharedTemporary = 11,  ///< one that every user may write in
        cContainerMachineAppSupport = 12,
    };

    /// The medium under a volume. The values are fixed.
    enum VolumeType
    {
        cVolumeUnknown = 0,
        cVolumeRotational = 1,
        cVolumeSolidState = 2,
    };

    virtual ~CBasicFileSpec() = default;

    // Virtual operations keep their order for ever; new ones go last.

    /// Forgets all that was read from the file system, so that the next question asks it again.
    virtual void SetupFromFile() = 0;
    /// Sets the desktop's type and creator codes, four characters each; does nothing where there
    /// are none, or on failure. An object that has read the codes keeps answering with the old ones
    /// until `SetupFromFile`; so it is with the label.
    virtual void SetFileTypeCreator(unsigned int type, unsigned int creator) = 0;
    /// The colour label, 0 for none.
    virtual unsigned int GetFileLabel() const = 0;
    /// More than 7 is set as 7.
    virtual void SetFileLabel(unsigned int label) = 0;

    /// True if both paths are equal unit by unit. Nothing is resolved: two ways to one file are not
    /// equal.
    virtual bool operator==(CFileSpec const& other) const = 0;

    /// The text behind the last "/", or the whole path if there is none; empty if the path ends
    /// with "/".
    virtual void GetFileName(std::u16string* name) const = 0;
    virtual void GetFileName8bit(std::string* name) const = 0;
    /// The name as the desktop shows it; where there is none, the file name.
    virtual void GetDisplayFileName(std::u16string* name) const = 0;
    virtual void GetDisplayFileName(std::string* name) const = 0;
    /// The desktop's type and creator codes, 0 where there are none. Either pointer may be null.
    virtual void GetFileTypeCreator(unsigned int* type, unsigned int* creator) const = 0;
    virtual void GetFullPath(std::u16string* path) const = 0;
    virtual void GetFullPath8bit(std::string* path) const = 0;
    /// The extension of the file name, without its dot, or nothing: see `CFileSpec::GetExtension`.
    virtual void GetExtension(std::u16string* extension) const = 0;
    virtual void GetExtension8bit(std::string* extension) const = 0;
    /// The uniform type identifier, or nothing if it isn't known.
    virtual void GetUTI(std::string* identifier) const = 0;

    /// The implementation; it belongs to the specifier.
    virtual CFileSpecImp* GetImp() const = 0;

    /// Points `container` at the folder around this one and answers true. The root, an empty path
    /// and a path without a "/" have none: then `container` gets an empty path and the answer is
    /// false. `container` may be this object. The container of a path that ends with "/" is that
    /// path without it.
    virtual bool GetContainer(CFileSpec* container) const = 0;
    /// Points `volume` at the volume of this path, by its text alone: "/Volumes/" and one name,
    /// otherwise the root.
    virtual void GetVolume(CFileSpec* volume) const = 0;
    /// Makes a new, empty folder on the same volume, if the system has such a place, otherwise
    /// among the temporary items, and points `folder` at it. Its name is this file's, made unique.
    /// It is the caller's to remove. Throws.
    virtual void GetNewTempFolderInSameVolume(CFileSpec* folder) const = 0;

    /// These three ask the system at each call and follow links.
    virtual bool Exist() const = 0;
    virtual bool Readable() const = 0;
    virtual bool Writeable() const = 0;

    /// Length in bytes of the file, links followed.
    ///
    /// This and the dates below share one look at the file, so that asking for each of them once
    /// costs one system call; asking for the same one again looks again, for all of them.
    virtual long long GetFileSize() const = 0;
    /// Bytes that the disk under the path has in all. The path must exist.
    virtual long long GetDiskCapacity() const = 0;
    /// Bytes that this user can still write on the disk. What doesn't exist yet is looked for on
    /// the disk of the first folder above it that does.
    virtual long long GetAvailableDiskSpace() const = 0;
    virtual long GetFileModifDateUTC() const = 0;
    virtual long GetFileAccessDateUTC() const = 0;
    virtual long GetFileAttributesModifDateUTC() const = 0;
    /// Where no such date is kept, the date of the last change.
    virtual long GetFileCreationDateUTC() const = 0;

    /// A link to a folder counts as a folder. This and the questions below answer from what was
    /// read before, if anything was; `SetupFromFile` has them look again.
    virtual bool IsFolder() const = 0;
    virtual bool IsFolder(bool followLinks) const = 0;
    /// True for the path that `GetVolume` would give.
    virtual bool IsVolume() const = 0;
    /// A regular file, or a link to one. A location file (`IsAlias`) is what it leads to, or none.
    virtual bool IsRealFile() const = 0;
    virtual bool IsRealFile(bool followLinks) const = 0;
    /// A symbolic link, an alias of the desktop's, or a location file, which names a server and is
    /// told by the end of its path, ".afploc" or ".inetloc" in small letters, or by its type,
    /// "ilaf" or "ilge".
    virtual bool IsAlias() const = 0;
    /// By the extension, ".dmg", ".iso" and such in any case, or by the file's type; nobody looks
    /// inside. A folder of such a name counts too.
    virtual bool IsDiskImage() const = 0;
    /// False for a name that begins with a dot, and for what the desktop hides. An empty name is
    /// visible.
    virtual bool IsVisible() const = 0;
    /// A folder that the desktop shows as one file.
    virtual bool IsOpaqueFolder() const = 0;
    virtual bool HasOtherThanDFork() const = 0;

    /// Resolves every link on an absolute path, from the left, and takes the result as its path. A
    /// target stands for all that came before it, and links inside a target's own folders are left
    /// to the system. A component stays as it is if it isn't a link, if its links run in a circle,
    /// if the target isn't UTF-8, or if the path would reach 1025 bytes. Other paths than absolute
    /// ones stay.
    ///
    /// On the desktop its aliases are resolved too, and a location file becomes the root of the
    /// volume that it names, which is mounted: that blocks for as long as the server takes.
    virtual void ResolveAlias() = 0;
    /// Has the desktop mount this disk image and points this specifier at the first of its volumes.
    /// Nothing changes if it can't, and elsewhere than on the desktop. Blocks for up to 61 seconds.
    virtual void MountDiskImage() = 0;
    /// Where the volume is mounted, the disk image and the server it comes from, its file system's
    /// name (UTF-8), if it is on the network and what medium it stands on. What isn't known comes
    /// as empty strings, false and `cVolumeUnknown`. A server that doesn't answer can block it.
    virtual void GetVolumeInfo(std::string& mountPoint,
                               std::string& imagePath,
                               std::string& serverURL,
                               std::string& fileSystem,
                               bool& isNetwork,
                               VolumeType& type) const = 0;

    /// Where there is no trash, `MoveToTrash` deletes. An empty folder is deleted like a file; see
    /// `CFolder` for others. Both throw.
    virtual void MoveToTrash() = 0;
    virtual void Delete() = 0;
    /// Deletes; if that fails, moves to the trash and throws if that fails too. Nothing there is no
    /// failure.
    virtual void DeleteOrTrash() const = 0;
    virtual void DeleteOrTrashWithoutError() const = 0;

    /// True if `folder` is one of the containers of this specifier, at any depth, by exact text. A
    /// specifier isn't inside itself, and a folder's path with a "/" at its end, as it comes from
    /// `CFileSpec(StdContainerEnum)`, isn't the text of a container.
    virtual bool IsInsideFolder(CFileSpec const& folder) const = 0;

    /// Writes the path, without `base` if it is inside it. What `base` doesn't hold, and `base`
    /// itself, is written whole. The record has no mark of its form: a rest that begins with "/",
    /// from a doubled "/", reads as a whole path.
    virtual void WriteToStream(basic_binstream& stream, CFileSpec const& base) const = 0;
    /// Reads a path; one that doesn't begin with "/" lands inside `base`, an empty one stays empty.
    /// Nothing else about the path is checked. What was read from the file system before stays
    /// until `SetupFromFile`. Passes on what the stream throws, and is then as it was.
    virtual void ReadFromStream(basic_binstream& stream, CFileSpec const& base) = 0;

    /// True once the specifier was made with a path or made from another one.
    virtual bool Changed() const = 0;

protected:
    CBasicFileSpec() = default;
    CBasicFileSpec(CBasicFileSpec const&) = default;
    CBasicFileSpec& operator=(CBasicFileSpec const&) = default;
};
