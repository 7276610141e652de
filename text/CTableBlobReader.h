// Reads the blobs of text/tables, whose bytes stand in reverse within each group of eight on a
// little-endian host.
#pragma once

#include <bit>
#include <cstddef>

/// A cursor over the bytes of a blob in their logical order, read where they lie. The blob's
/// storage must be a whole number of groups. Reading past the end is the caller's error: ask `Left`
/// first.
class CTableBlobReader
{
public:
    /// A length of 0 or below is that of an empty blob.
    CTableBlobReader(signed char const* data, int length)
        : mData(data)
        , mLength(length > 0 ? static_cast<std::size_t>(length) : 0)
    {
    }

    /// Bytes that are left.
    std::size_t Left() const { return mLength - mAt; }

    unsigned char Byte() { return static_cast<unsigned char>(mData[mAt++ ^ kReversed]); }

    char16_t Word()
    {
        unsigned int const high = Byte();
        return static_cast<char16_t>(high << 8 | Byte());
    }

private:
    static constexpr std::size_t kReversed = std::endian::native == std::endian::little ? 7 : 0;

    signed char const* mData;  // not owned
    std::size_t mLength;
    std::size_t mAt = 0;
};
