// Reads the blobs of text/tables, whose bytes stand in reverse within each group of eight on a
// little-endian host.
#pragma once

#include <bit>

/// A cursor over the bytes of a blob in their logical order, read where they lie. The blob's
/// storage must be a whole number of groups. Reading past the end is the caller's error: ask `Left`
/// first.
class CTableBlobReader
{
public:
    CTableBlobReader(signed char const* data, int length)
        : mData(data)
        , mLength(length)
    {
    }

    /// Bytes that are left, 0 or below at the end.
    int Left() const { return mLength - mAt; }

    unsigned char Byte()
    {
        return static_cast<unsigned char>(mData[static_cast<unsigned int>(mAt++) ^ kReversed]);
    }

    char16_t Word()
    {
        unsigned int const high = Byte();
        return static_cast<char16_t>(high << 8 | Byte());
    }

private:
    static constexpr unsigned int kReversed = std::endian::native == std::endian::little ? 7 : 0;

    signed char const* mData;  // not owned
    int mLength;
    int mAt = 0;
};
