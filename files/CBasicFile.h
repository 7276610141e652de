// What can be done with one file: its content, its place in the file system, its extended
// attributes.
//
// Three things to know before the first call:
// - `ReadLine` writes `size` + 1 bytes: its closing 0 stands at `buffer[size]` when the buffer is
// full.
// - `MoveToTrash` deletes for good, as does everything here with "Trash" in its name.
// - Only the exclusive lock that a writer takes at `Open` protects a file from other processes.
//
// An action that fails throws `HierarchicalException` of `kFileDomain`, with one of `FileOperation`
// as its context and the path as its text; nothing is rolled back unless the operation says so, and
// the object can be used again. An operation that needs an open file and finds it closed throws
// `kOtherFailure` with `EBADF`. Calls block as long as the system does; a signal that interrupts
// one surfaces as `kOtherFailure` with `EINTR`. Sizes and positions are in bytes. Names and paths
// are UTF-16, or UTF-8 in the forms that take `std::string`. One object serves one thread at a
// time; separate objects are independent.
#pragma once

#include "foundation/LoamExport.h"
#include "marl/basic_binstream.h"

#include <string>
#include <vector>

class CFileSpec;

class LOAM_EXPORT CBasicFile
{
public:
    /// What `Open` is asked for. Any other value acts as `cPrivilegeReadWrite`.
    enum PrivilegesEnum
    {
        cPrivilegeRead = 0,
        cPrivilegeWrite = 1,      ///< with an exclusive lock; never waits
        cPrivilegeReadWrite = 2,  ///< with an exclusive lock; never waits
    };

    /// The byte order of the integers in the file.
    enum Endianness
    {
        cLittleEndian = 1,
        cBigEndian = 2,
        cNativeEndian = 3,  ///< stored as the order of this processor, `cLittleEndian`
    };

    /// What ended the line that `ReadLine` gave.
    enum EOLType
    {
        cEOLNone = 0,       ///< the buffer filled up with no line end in it
        cEOLCR = 1,         ///< CR
        cEOLLF = 2,         ///< LF
        cEOLCRLF = 3,       ///< CR LF
        cEOLEndOfFile = 4,  ///< fewer bytes than asked for came, with no line end in them
    };

    CBasicFile() = default;
    CBasicFile(CBasicFile const&) = default;
    CBasicFile& operator=(CBasicFile const&) = default;

    // Virtual operations keep their order for ever; new ones go last.

    /// Sets the byte order for the integer operations. Any value but `cLittleEndian` and
    /// `cNativeEndian` swaps.
    virtual void SetFileEndianness(Endianness endianness) = 0;
    virtual Endianness GetFileEndianness() const = 0;
    /// Whether integers are swapped on their way in and out.
    virtual bool IsSwappingEndian() const = 0;

    virtual ~CBasicFile();

    /// Whether something stands at the path, and whether this process may read or write it. Asked
    /// of the file system at each call; links are followed.
    virtual bool Exist() = 0;
    virtual bool Readable() = 0;
    virtual bool Writeable() = 0;

    /// Makes an empty file and leaves it closed. A path that is taken throws `kFileExists`. Sets
    /// the `umask` of the process to 022, where it stays: files that other threads make meanwhile
    /// are made under it.
    virtual void Create() = 0;
    /// Opens the file. A writer takes an exclusive lock without waiting; a file that another writer
    /// holds, in this process or elsewhere, throws `kFileAccessDenied`. Readers neither take nor
    /// heed the lock. A file that was open before is closed, also when the new open fails. The
    /// descriptor is not inherited by other programs.
    virtual void Open(PrivilegesEnum privileges) = 0;
    virtual bool IsOpen() = 0;
    /// Closes the file. After a failure it still counts as open, and its end closes it once more;
    /// mind that the system may have given its descriptor to another thread by then.
    virtual void Close() = 0;
    /// Removes the file, or the folder if it is empty. A link goes and its target stays; but a link
    /// to a folder throws `kFileNotAFolder`.
    virtual void Delete() = 0;
    /// Is `Delete`: the file is gone.
    virtual void MoveToTrash() = 0;
    /// If something stands at the path: `Delete`, and if that throws, `MoveToTrash`. In this order,
    /// whatever the name says.
    virtual void DeleteOrTrash() = 0;
    /// The same; a failure isn't reported.
    virtual void DeleteOrTrashWithoutError() = 0;
    /// Always throws, `kOtherFailure` with context `kFileMakeAlias` and no path.
    virtual void MakeAlias(CFileSpec const& target) = 0;

    /// Gives the file another name in its folder; the object then names it there. An illegal `name`
    /// is made legal. `unique`: a name that is taken gets a number. `overwrite`: what has the name
    /// is deleted first, unless it is this file itself. With neither, a file of that name is
    /// replaced in one step, as `rename` does. A bare name, "a" in place of a path, is in no
    /// folder, and its new name is then one in the root folder, "/".
    virtual void Rename(std::u16string const& name, bool unique, bool overwrite) = 0;
    virtual void Rename(std::string const& name, bool unique, bool overwrite) = 0;
    /// Copies the file's content to `name` in `folder`, without `skipStart` bytes at its start and
    /// `skipEnd` at its end. An empty `name` means this file's own; `unique` and `overwrite` as in
    /// `Rename`, but a name that is taken throws `kFileExists` with neither. `result`, if not null,
    /// gets the copy's place before the copying starts. This file needn't be open before, and both
    /// are closed after. A failure leaves a partial copy behind; a full disk always throws. A read
    /// that comes up short of a block of 128 KiB is not made up for: the copy then ends early,
    /// without a word, by what was missing. Where the source's file system reads short, compare the
    /// lengths.
    virtual void CopyTo(CFileSpec const& folder,
                        std::u16string const& name,
                        bool unique,
                        bool overwrite,
                        CFileSpec* result,
                        long long skipStart,
                        long long skipEnd) = 0;
    virtual void CopyTo(CFileSpec const& folder,
                        std::string const& name,
                        bool unique,
                        bool overwrite,
                        CFileSpec* result,
                        long long skipStart,
                        long long skipEnd) = 0;
    /// As `Rename`, into `folder`. A move to another volume throws `kOtherFailure` with `EXDEV`:
    /// use `CopyTo`. `result`, if not null, gets the new place.
    virtual void MoveTo(CFileSpec const& folder,
                        std::u16string const& name,
                        bool unique,
                        bool overwrite,
                        CFileSpec* result) = 0;
    virtual void MoveTo(CFileSpec const& folder,
                        std::string const& name,
                        bool unique,
                        bool overwrite,
                        CFileSpec* result) = 0;
    /// Puts this file, with its content on the disk, in `target`'s place. `keepReplaced`: the
    /// replaced file gets this file's old place, otherwise it is removed. Where the system can,
    /// this is one step, and a crash at any moment leaves a whole file under the target's name.
    /// Where it can't (it refuses, or `target` isn't there), it is done by moves: the target aside
    /// to its name with ".old", this file to its place, then the rest; a failure in between is not
    /// rolled back. After moves, and always on Linux, the object names the target; after the one
    /// step on macOS it names the old place. What the moves put beside a file with a bare name goes
    /// to the root folder, as with `Rename`.
    virtual void ReplaceFile(CFileSpec const& target, bool keepReplaced) = 0;

    /// Keeps the file out of backups, or takes that back. No effect on Linux.
    virtual void SetExcludeFromBackups(bool exclude) = 0;
    /// False on Linux.
    virtual bool GetExcludeFromBackups() const = 0;
    /// Marks the file as one that came by e-mail, so that the system asks before it opens it. No
    /// effect on Linux.
    virtual void SetQuarantine() = 0;
    /// Extended attributes: `value` is any bytes. Setting and clearing report no failure; the
    /// others answer false where the file or the attribute isn't there, and leave their result
    /// empty. On Linux a name without one of the prefixes `user.`, `trusted.`, `security.`,
    /// `system.` is stored with `user.`, and the list gives the attributes of `user.` only, without
    /// the prefix.
    virtual void SetExtendedAttribute(std::string const& name, std::string const& value) = 0;
    virtual bool GetExtendedAttributeList(std::vector<std::string>& names) const = 0;
    virtual bool GetExtendedAttribute(std::string const& name, std::string& value) const = 0;
    virtual void ClearExtendedAttribute(std::string const& name) = 0;

    /// The size, of the open file or, when closed, of what stands at the path.
    virtual long long GetLength() = 0;
    /// Cuts or extends the open file; new bytes are 0. The cursor stays.
    virtual void SetEOF(long long length) = 0;
    /// Whether the cursor is at the end or behind it.
    virtual bool IsEOF() = 0;
    /// Waits until what was written is on the disk. A failure isn't reported.
    virtual void Flush() = 0;
    virtual long long GetCursorPos() = 0;
    /// The cursor may stand behind the end. An unknown `reference` acts as `cursor_from_start`.
    virtual void SetCursorPos(long long offset, basic_binstream::cursorref_type reference) = 0;
    /// Where on its volume's device the byte at `offset` of the open file stands, in bytes. False
    /// where the file system doesn't tell, in a hole, and for what isn't written to the disk yet
    /// (`Flush` helps).
    virtual bool GetDevicePhysicalPos(long long offset, long long& physical) const = 0;

    /// Reads up to `size` bytes with one call of the system and returns how many came: 0 at the end
    /// of the file.
    virtual long long Read(char* buffer, long long size) = 0;
    /// Reads one line of up to `size` bytes, which end at CR, LF or CR LF, and puts it into
    /// `buffer` without its end and with a 0 behind it: `buffer` has room for `size` + 1 bytes.
    /// Returns the bytes used up, line end included; the cursor then stands behind them. `eol`, if
    /// not null, gets what ended the line. The end of the file is a return of 0 with
    /// `cEOLEndOfFile`. A CR LF that straddles the end of the buffer counts as CR, and its LF comes
    /// as an empty line in the next call. Each call reads `size` bytes and goes back to the line's
    /// end.
    virtual long long ReadLine(char* buffer, long long size, EOLType* eol) = 0;
    /// Writes with one call of the system and returns how many bytes went: it can be fewer than
    /// `size`.
    virtual long long Write(char const* buffer, long long size) = 0;

    // Integers of 8 to 64 bits, in the order that `SetFileEndianness` says. They return bytes, as
    // `Read` and `Write` do, and can come up short like them. Addresses needn't be aligned. `size`
    // is bytes an element: 1, 2, 4 or 8; any other size does nothing and returns 0.
    //
    // The multiple forms compute their bytes, `count` times the element's size, in 32 bits: a
    // product of 4 GiB or more wraps around. `values` has room for all `count` elements, which are
    // all swapped, also after a short read. With swapping they write each element by a `Write` of
    // its own, on a copy; the caller's data stays as it is.

    virtual long long ReadInt8(void* value) = 0;
    virtual long long ReadInt16(void* value) = 0;
    virtual long long ReadInt32(void* value) = 0;
    virtual long long ReadInt64(void* value) = 0;
    virtual long long ReadInt(void* value, long long size) = 0;
    virtual long long ReadMultipleInt8(void* values, unsigned int count) = 0;
    virtual long long ReadMultipleInt16(void* values, unsigned int count) = 0;
    virtual long long ReadMultipleInt32(void* values, unsigned int count) = 0;
    virtual long long ReadMultipleInt64(void* values, unsigned int count) = 0;
    virtual long long ReadMultipleInt(void* values, long long size, unsigned int count) = 0;
    virtual long long WriteInt8(void const* value) = 0;
    virtual long long WriteInt16(void const* value) = 0;
    virtual long long WriteInt32(void const* value) = 0;
    virtual long long WriteInt64(void const* value) = 0;
    virtual long long WriteInt(void const* value, long long size) = 0;
    virtual long long WriteMultipleInt8(void const* values, unsigned int count) = 0;
    virtual long long WriteMultipleInt16(void const* values, unsigned int count) = 0;
    virtual long long WriteMultipleInt32(void const* values, unsigned int count) = 0;
    virtual long long WriteMultipleInt64(void const* values, unsigned int count) = 0;
    virtual long long WriteMultipleInt(void const* values, long long size, unsigned int count) = 0;

    /// The file's place; it belongs to the object and changes with `Rename`, `MoveTo` and
    /// `ReplaceFile`.
    virtual CFileSpec* GetFileSpec() = 0;
    /// Blocks, without limit, until the open file is written or deleted, and answers true. False,
    /// at once or where a signal interrupts, if it can't be watched. A file that was deleted, or
    /// whose name was given to another file, is closed, and the file that now has the name is
    /// opened in its stead; if there is none, that throws `kFileNotFound`. Changes between two
    /// calls aren't noticed, so read after each. On Linux the file must be readable, and what
    /// another machine does on a network volume isn't noticed.
    virtual bool WaitForModification() = 0;
};
