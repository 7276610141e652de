// A named block of memory that other processes can map.
//
// One way: who makes a block writes it, who opens it by its name only reads. Over POSIX shared
// memory: the name begins with a slash and holds no other one (portably up to 30 bytes), and it
// stays in the system, block and all, until somebody deallocates it, also when its maker dies.
// Space for the whole block is set aside when it is made, so that writing to it never fails for
// lack of room.
//
//     CSharedMemory block;
//     block.Allocate(4096, true);
//     // ... hand block.GetFilename() to the other process, write at block.GetAddress()
//
// Failures throw `HierarchicalException` of `kSharedMemoryDomain`, with a `CSharedMemoryError` as
// the context, a `SharedMemoryCategory` and the name of the system call as the text. An object is
// for one thread at a time and for one block at a time: what is open when the next one is made
// stays mapped until the process ends, and its name stays. The block has no lock: its users settle
// who writes when.
#pragma once

#include "foundation/LoamExport.h"

class CSharedMemoryBaseImpl;

/// What was being done: the context of an exception of `kSharedMemoryDomain`.
enum CSharedMemoryError
{
    kSharedMemoryAllocate = 1,
    kSharedMemoryOpenExisting = 2,
    kSharedMemoryClose = 3,
    kSharedMemoryDeallocate = 4,
};

class LOAM_EXPORT CSharedMemory
{
public:
    /// No block.
    CSharedMemory();
    CSharedMemory(CSharedMemory const&) = delete;
    CSharedMemory& operator=(CSharedMemory const&) = delete;
    /// Closes, and drops a failure of it.
    ~CSharedMemory();

    /// Makes a block of `size` bytes, all zero and mapped for writing, under a name that no other
    /// block of this process has: "/CSharedMemory_<process>_<count>". Only the user may open it. A
    /// block of 0 bytes is no object of the system: it has the address null and the name
    /// "/CSharedMemory_NULL", and all else succeeds and does nothing. `deallocateOnClose`: whether
    /// `Close` removes the name.
    ///
    /// After a failure that comes later than "shm_open" the name is there, and stays there until
    /// `Deallocate`.
    void Allocate(unsigned long size, bool deallocateOnClose);
    /// The same under a name given, UTF-8. A name that is taken fails as `kSharedMemoryExists`,
    /// also where its maker is dead. Nothing is made for a block of 0 bytes, whatever its name, so
    /// there is nothing to open and `Deallocate` fails as `kSharedMemoryNotFound`. The name
    /// "/CSharedMemory_NULL" is refused for a block of any other size, as "shm_open" with `EINVAL`.
    void Allocate(unsigned long size, char const* name, bool deallocateOnClose);
    /// Without its flag a name would pass for one.
    void Allocate(unsigned long size, char const* name) = delete;

    /// Maps a block made elsewhere, in the size that its maker gave, for reading: a write ends the
    /// process. `deallocateOnClose` as above, so that an opener too can be the one who tidies up.
    void OpenExisting(char const* name, bool deallocateOnClose);

    /// Unmaps, then removes the name if that was asked for and hasn't been done. Does nothing
    /// without an open block.
    void Close();

    /// Removes the name now, whatever was asked for. The block goes on for all who have it mapped,
    /// this object included.
    void Deallocate();

    /// Bytes asked for or found, also after `Close`.
    unsigned long GetSize() const;
    /// Where the block begins; after `Close` where it was. Null where there is none.
    void* GetAddress() const;
    /// The name in UTF-8, until the next block; empty where there is none.
    char const* GetFilename() const;

private:
    CSharedMemoryBaseImpl* mImpl;  // owned
    bool mIsOpen = false;
    bool mNameExists = false;  // not deallocated through this object
    bool mDeallocateOnClose = false;
};
