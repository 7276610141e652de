// Base64 with the alphabet of RFC 4648, section 4, and "=" as padding: a group, a block, and a
// text for the value of a mail header.
//
//     memblock text;
//     CBase64Encoder::Encode(bytes, &text, false);
//
// BEWARE of bad input: nothing here fails or tells of it. In a group and in a block, a character
// that isn't of the alphabet counts as "A". Who must refuse such input has to look at it before.
//
// Sizes are in bytes. Where a block or a string goes in and another comes out, they are two. There
// is no state: any thread may call. Only memory that runs out throws, `std::bad_alloc`. Nothing is
// held but the result, which takes its own size at once, or, where it is decoded, 3 bytes for each
// 4 of the input.
#pragma once

#include "security/CEncoder.h"

#include <string>

class memblock;

class LOAM_EXPORT CBase64Encoder : public CEncoder
{
public:
    /// Encodes the first `count` bytes of a group, 1 to 3, as 4 characters, "=" for each byte that
    /// is missing. A count of 0 or below acts as 1, one above 3 as 3.
    static void Encode(unsigned char const* in, char* out, short count);
    /// Decodes 4 characters to 3 bytes, all of which are written, and tells in `count` how many of
    /// them are real: 1 if the third character is "=", else 2 if the fourth is, else 3.
    static void Decode(char const* in, unsigned char* out, short* count);

    /// Replaces the content of `out` by `in`, encoded. With `lineBreaks`, CR LF follows each line
    /// of 76 characters (RFC 2045, section 6.8), the last one too if it is full.
    static void Encode(memblock const& in, memblock* out, bool lineBreaks);
    /// Replaces the content of `out` by what the groups of four characters in `in` stand for.
    /// Blanks, tabs, CR and LF are stepped over in front of a group; inside one they are bad
    /// characters. Padding doesn't end it: streams that were joined come out joined. `consumed`
    /// (may be null) gets the position behind the last group, from where the reader of a stream
    /// goes on when more has come.
    static void Decode(memblock const& in, memblock* out, unsigned long* consumed);

    /// Replaces `out` by `in`, encoded, in one line.
    static void EncodeHeaderStr(std::string const& in, std::string* out);
    /// Replaces `out` by what `in` stands for. All characters outside of the alphabet are skipped,
    /// wherever they stand, but for "=", which ends it; a partial group without "=" is dropped.
    /// "=" always brings out a byte: right behind a whole group one that is made of values left
    /// over from it, and at the start one of 0.
    static void DecodeHeaderStr(std::string const& in, std::string* out);

    /// 4.
    int GetEncoding() const override;
};
