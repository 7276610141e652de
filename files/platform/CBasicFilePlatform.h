// What files need of the system beyond POSIX.
//
// Operations ask one question or give one order in plain types, never throw and decide nothing.
// Paths and names are UTF-8. Any thread may call; a watch serves one thread at a time.
#pragma once

#include <cstddef>

/// What ended the wait on a watch.
enum FileChange
{
    kFileWatchFailed,  ///< the file can't be watched, or a signal came
    kFileWritten,
    kFileDeleted,  ///< its name has been taken from it, and may now be another file's
};

/// How `ReplaceObject` left things.
enum FileReplacement
{
    /// Nothing has changed.
    kFileNotReplaced,
    /// The replacement's path is free, and a backup that was asked for stands beside the target.
    kFileReplacedByBackup,
    /// The replacement itself has moved to the target's path, and a backup that was asked for to
    /// the
    /// replacement's: nothing is left to do.
    kFileReplacedByMove,
};

class CBasicFilePlatform
{
public:
    CBasicFilePlatform() = default;
    CBasicFilePlatform(CBasicFilePlatform const&) = delete;
    CBasicFilePlatform& operator=(CBasicFilePlatform const&) = delete;
    virtual ~CBasicFilePlatform() = default;

    /// `open` with `flags`, together with an exclusive lock on the file, which is not waited for
    /// and which holds until the descriptor is closed. The descriptor; or -1, with the `errno`
    /// value in `error` (`EAGAIN` if another descriptor has the lock) and nothing left open.
    virtual int OpenLocked(char const* path, int flags, int& error) = 0;

    /// A watch, for use with any number of files one after another; -1 if there can't be one.
    virtual int MakeWatch() = 0;
    /// Blocks until the file open as `descriptor` is written, or the name `path` is taken from it
    /// by removing it or by giving it to another file. Changes before the call don't count where
    /// the system can't tell them.
    virtual FileChange WaitOnWatch(int watch, int descriptor, char const* path) = 0;
    /// Ends a watch that `MakeWatch` made.
    virtual void CloseWatch(int watch) = 0;

    /// Where on its device the byte at `offset` of an open file stands. False if the system doesn't
    /// tell; `position` -1 also means that there is no such place.
    virtual bool GetPhysicalPosition(int descriptor, long long offset, long long& position) = 0;

    /// Puts the object at `replacement` in the place of the one at `target` in one step, all or
    /// nothing. `backupName`, if not null, keeps the replaced object: where the answer is
    /// `kFileReplacedByBackup`, under that name in the target's folder. `workFolder` is a folder of
    /// the same volume for the system's own use.
    virtual FileReplacement ReplaceObject(char const* target,
                                          char const* replacement,
                                          char const* backupName,
                                          char const* workFolder) = 0;

    /// Backups leave the object out, or take it in again.
    virtual void SetBackupExclusion(char const* path, bool exclude) = 0;
    virtual bool GetBackupExclusion(char const* path) = 0;
    /// Marks the object as one that came from outside, by e-mail.
    virtual void SetQuarantine(char const* path) = 0;

    /// Sets an extended attribute; a null `value` removes it.
    virtual void
    SetAttribute(char const* path, char const* name, void const* value, std::size_t size) = 0;
    /// The value's size in bytes, -1 if there is none. Copies it if `buffer` isn't null; then -1
    /// also means that `size` is too small.
    virtual long
    GetAttribute(char const* path, char const* name, void* buffer, std::size_t size) = 0;
    /// The same for the list of names, each with a 0 behind it. Without a buffer the answer is a
    /// size that is enough, and may be more than the list takes.
    virtual long ListAttributes(char const* path, char* buffer, std::size_t size) = 0;
};

/// The platform in use. Any thread may call.
CBasicFilePlatform& FilePlatform();

/// A new one of the system's own, which the caller owns. Defined in the system's file.
CBasicFilePlatform* NewFilePlatform();

/// Puts another platform in use for a scope. For tests, while no other thread works with files.
class StFilePlatform
{
public:
    /// `platform` belongs to the caller and outlives the guard.
    explicit StFilePlatform(CBasicFilePlatform& platform);
    StFilePlatform(StFilePlatform const&) = delete;
    StFilePlatform& operator=(StFilePlatform const&) = delete;
    ~StFilePlatform();

private:
    CBasicFilePlatform* mFormer;  // not owned
};
