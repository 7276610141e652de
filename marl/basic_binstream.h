// A binary stream over a block of bytes, with strings that carry their own length.
//
// Format of a string: the number of UTF-16 units (or bytes, for the 8-bit form) as 4 bytes, then
// the units, each as 2 bytes; all little-endian. The format is the same on every machine.
//
// Failures throw `HierarchicalException` with signature `bins` and the categories below. A stream
// serves one thread at a time.
#pragma once

#include <string>

#include "marl/MarlExport.h"
#include "marl/memblock.h"

/// Reads and writes at a cursor, which starts at the first byte. Writing overwrites what is there
/// and grows the block at its end.
class MARL_EXPORT basic_binstream
{
public:
    /// What an offset counts from. The values are fixed; `CFile::SetCursorPos` takes them too. Any
    /// other value may be handed over.
    enum cursorref_type : int
    {
        cursor_from_start = 0,
        cursor_from_end = 1,
        cursor_from_current = 2
    };

    static constexpr unsigned int kSignature = 0x62696E73;  ///< `bins`

    /// A read wanted more than the stream holds.
    static constexpr int kPastEnd = 1;
    /// A string has more units than its length field can tell.
    static constexpr int kTooLong = 2;
    /// A cursor was asked to stand before the start or behind the end.
    static constexpr int kBadCursor = 3;

    /// `block` belongs to the caller, outlives the stream and isn't changed by others meanwhile.
    explicit basic_binstream(memblock& block);

    /// Writes a string. If it can't be written whole, it throws and moves nothing.
    basic_binstream& operator<<(std::u16string const& text);
    basic_binstream& operator<<(std::string const& text);
    /// Replaces `text` by the next string in the stream. If the stream ends first, or its length
    /// field runs past the end, it throws, and both `text` and the cursor are as they were.
    basic_binstream& operator>>(std::u16string& text);
    basic_binstream& operator>>(std::string& text);

    /// Copies exactly `count` bytes out of the stream, or throws and moves nothing.
    void Read(void* bytes, unsigned long count);
    /// Copies `count` bytes into the stream. They lie outside its block.
    void Write(void const* bytes, unsigned long count);

    /// Bytes from the start to the cursor.
    unsigned long GetCursorPos() const { return mCursor; }

    /// Moves the cursor to a place inside the stream or to its end. An unknown `reference` acts as
    /// `cursor_from_start`.
    void SetCursorPos(long long offset, cursorref_type reference);

private:
    char* MakeRoom(unsigned long length, unsigned long unitSize);
    unsigned long PeekLength(unsigned long unitSize) const;

    memblock* mBlock;  // not owned
    unsigned long mCursor = 0;
};
