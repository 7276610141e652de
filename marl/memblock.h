// A growable block of bytes on the heap, the currency for binary data between a host and the
// library.
//
// Sizes are in bytes. Growing past the memory that there is throws `std::bad_alloc`, and a size
// that no object can have throws `std::length_error`; the block is then as it was. A block serves
// one thread at a time.
#pragma once

#include "marl/MarlExport.h"

/// Owns one heap buffer and grows it to exactly what is asked for. For many small appends use
/// `amortizedmemblock`.
class MARL_EXPORT memblock
{
public:
    /// An empty block, which owns no storage yet. Cannot fail.
    memblock() noexcept = default;
    /// Copies the bytes, not the spare storage.
    memblock(memblock const& other);
    memblock(memblock&& other) noexcept;
    memblock& operator=(memblock const& other);
    memblock& operator=(memblock&& other) noexcept;
    virtual ~memblock();

    // Virtual operations keep their order for ever; new ones go last.

    /// The address of the first byte, valid until the next change of size; null if nothing was ever
    /// stored.
    virtual char* data();
    /// The length in bytes.
    virtual unsigned long size() const;
    /// Adds all of `other` at the end. `other` may be this block.
    virtual void append(memblock const& other);
    /// Sets the length. Bytes up to the smaller of the old and the new length keep their values,
    /// new bytes are undefined. Shrinking doesn't fail; in a plain
    /// `memblock` it doesn't move the data either.
    virtual void resize(unsigned long newSize);
    /// Empties the block before it is filled anew; the storage stays for the next content.
    virtual void reset();
    /// Empties the block and gives its storage back.
    virtual void clear();

    /// Adds `count` bytes at the end. `bytes` may lie inside this block; with a count of 0 it may
    /// be null.
    void append(char const* bytes, unsigned long count);

    char const* data() const { return const_cast<memblock*>(this)->data(); }

protected:
    /// Moves the content to storage of `capacity` bytes, at least the present length.
    void SetCapacity(unsigned long capacity);

    char* mData = nullptr;  // owned, from malloc
    unsigned long mSize = 0;
    unsigned long mCapacity = 0;
};
