// The single-byte charsets that the desktop converts without a converter of ICU's, and so by rules
// that ICU doesn't know: MacRoman, ISO 8859-1, ISO 8859-1's part of MacRoman, Windows code page
// 1252 and ASCII.
//
// ASCII keeps the bytes from 0x80 on as U+0080 to U+00FF; code page 1252 refuses its five bytes
// without a character; MacRoman has the euro sign. A combining mark is composed with the letter in
// front of it where the two have a byte together. Each other unit without a place becomes a "?" of
// its own, so that a surrogate pair becomes two.
#pragma once

#include "text/platform/CBasicCharsetPlatform.h"
#include "text/tables/SingleByteTables.h"

#include <cstddef>

class CBuiltInCharset
{
public:
    /// Any unit of `decoded` may be `kNoUnit`, for a byte that is refused; the way back is that of
    /// `encoded`, which may have fewer.
    constexpr CBuiltInCharset(UnitsOfBytes const& decoded, UnitsOfBytes const& encoded)
        : mUnits(decoded)
        , mBytes(encoded)
    {
    }

    /// As in `CBasicCharsetPlatform`.
    DecodeOutcome Decode(char const* source,
                         std::size_t size,
                         char16_t* target,
                         std::size_t capacity,
                         std::size_t* length) const;
    void Encode(char16_t const* source,
                std::size_t length,
                char* target,
                std::size_t capacity,
                std::size_t* count,
                std::size_t* written) const;

private:
    UnitsOfBytes mUnits;
    CBytesOfUnits mBytes;
};

/// The one for an encoding's number, or null.
CBuiltInCharset const* FindBuiltInCharset(unsigned int encoding);
