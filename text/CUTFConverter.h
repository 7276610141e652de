// Conversion between UTF-8 and UTF-16 into buffers that grow by themselves.
//
// Everything in the library that crosses between the UTF-8 of the operating system and its own
// UTF-16 text goes through this class. Malformed UTF-8 fails in both modes; a surrogate that is not
// part of a pair fails or is replaced as the mode tells, in UTF-16 and where it comes written as
// three bytes of UTF-8 (ED A0 80). One exception holds in both modes: a high surrogate that is the
// very last unit of UTF-16 comes out as its own three bytes.
//
// Lengths are those of the source in its own units and reach up to 2^31 - 1; a longer string fails
// like malformed text, and a negative length is that of an empty text. No state; any thread may
// call.
#pragma once

#include <string>

#include "foundation/LoamExport.h"

class LOAM_EXPORT CUTFConverter
{
public:
    enum ConversionMode : int
    {
        kStrictMode = 0,   ///< a lone surrogate fails the conversion
        kLenientMode = 1,  ///< a lone surrogate becomes U+FFFD; any other value acts so too
    };

    /// Converts the whole source, replaces `target` by the result and answers true. If the source
    /// can't be converted, `target` is empty and the answer false: nothing of a partly converted
    /// text is handed out. Exhausted memory passes through as `std::bad_alloc` and leaves `target`
    /// empty. Beside what `target` has already, at most 2 bytes for each of UTF-8, and 4 for each
    /// unit of UTF-16, are held at any time, the result's own included.
    static bool
    ConvertUTF8toUTF16(std::string const& source, std::u16string& target, ConversionMode mode);
    static bool
    ConvertUTF8toUTF16(char const* source, int length, std::u16string& target, ConversionMode mode);
    static bool
    ConvertUTF16toUTF8(std::u16string const& source, std::string& target, ConversionMode mode);
    static bool ConvertUTF16toUTF8(char16_t const* source,
                                   int length,
                                   std::string& target,
                                   ConversionMode mode);

    /// Converts the whole source to the start of a block that comes from `malloc`, and answers the
    /// number of units written, or -1 if the source can't be converted or memory is exhausted. No
    /// null follows them; the rest of the block is undefined. `*capacity` is the block's size in
    /// units.
    ///
    /// A null `*buffer` is replaced by a block of at least 128 units, or of `*capacity` if that is
    /// more. A block that turns out too small is given to `free`, the caller's own too, and another
    /// one of twice the capacity, though of no more than 2^31 - 1, takes its place; its content is
    /// not kept. With `*capacity` 0 (or below) `*buffer` is not looked at and never freed. Whatever
    /// the answer, `*buffer` belongs to the caller afterwards, who gives it to `free` or to another
    /// call; where memory is exhausted it is null and `*capacity` 0. Nothing is thrown. Two blocks
    /// are never held at a time.
    static int ConvertUTF8toUTF16(unsigned char const* source,
                                  int length,
                                  char16_t** buffer,
                                  int* capacity,
                                  ConversionMode mode);
    static int ConvertUTF16toUTF8(char16_t const* source,
                                  int length,
                                  unsigned char** buffer,
                                  int* capacity,
                                  ConversionMode mode);
};
