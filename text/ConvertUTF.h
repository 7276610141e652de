// The flat conversion routines between UTF-8, UTF-16 and UTF-32, with C linkage, for callers that
// own their buffers.
//
// They have the shape of the ConvertUTF routines published by the Unicode Consortium and are more
// lenient in a few places, told below. All share one calling shape: the source from `*sourceStart`
// to `sourceEnd` is converted into the room from `*targetStart` to `targetEnd`, and both cursors
// are moved past what was consumed and produced, whatever the result. On every result but
// `conversionOK` (and one of `ConvertUTF32toUTF16`, told there) the source cursor stands on the
// first unit of what stopped the routine, so that a caller may go on from there with more source or
// more room. A cursor behind its end is one at its end. Whatever the result, what stands between
// the target's cursor and its end afterwards is undefined: who needs a null there writes it last.
// Text is in the processor's byte order and needs no alignment beyond its type's. No state, no
// allocation, nothing thrown; any thread may call.
#pragma once

#ifndef __cplusplus
#include <stdbool.h>
#endif

#include "foundation/LoamExport.h"

typedef unsigned char UTF8;
typedef unsigned short UTF16;
/// 64 bits wide on 64-bit systems: a buffer advances 8 bytes for each code point.
typedef unsigned long UTF32;

typedef enum
{
    conversionOK = 0,     ///< the whole source was converted
    sourceExhausted = 1,  ///< the source ends within the UTF-8 sequence at its cursor
    targetExhausted = 2,  ///< there is no room for the character at the source cursor
    sourceIllegal = 3,    ///< what stands at the source cursor is malformed
} ConversionResult;

/// What becomes of a surrogate that is not part of a pair. No flag forgives malformed UTF-8.
typedef enum
{
    strictConversion = 0,         ///< it stops the conversion with `sourceIllegal`
    lenientConversion = 1,        ///< it passes through as itself
    lenientReplaceConversion = 2  ///< it becomes U+FFFD
} ConversionFlags;

#ifdef __cplusplus
extern "C" {
#endif

/// UTF-8 to UTF-16. Well-formed is what Unicode 13.0, table 3-7, allows and besides it a surrogate
/// written in three bytes (ED A0 80 to ED BF BF), which the flags decide on and which never joins
/// another one to a pair. A sequence that reaches past the end is `sourceExhausted` whatever its
/// bytes are, so that a lead byte of F8 to FF near the end is too; only then is it looked at for
/// being malformed, and only then for room.
LOAM_EXPORT ConversionResult ConvertUTF8toUTF16(UTF8 const** sourceStart,
                                                UTF8 const* sourceEnd,
                                                UTF16** targetStart,
                                                UTF16* targetEnd,
                                                ConversionFlags flags);

/// UTF-16 to UTF-8. A high surrogate that is the last unit of the source is no error under any
/// flag: it comes out as its own three bytes.
LOAM_EXPORT ConversionResult ConvertUTF16toUTF8(UTF16 const** sourceStart,
                                                UTF16 const* sourceEnd,
                                                UTF8** targetStart,
                                                UTF8* targetEnd,
                                                ConversionFlags flags);

/// UTF-32 to UTF-16. A value above 0x10FFFF becomes U+FFFD; under `strictConversion` it is left
/// out, and the routine goes on and answers `sourceIllegal` at the end of the source, or
/// `targetExhausted` where that stops it.
LOAM_EXPORT ConversionResult ConvertUTF32toUTF16(UTF32 const** sourceStart,
                                                 UTF32 const* sourceEnd,
                                                 UTF16** targetStart,
                                                 UTF16* targetEnd,
                                                 ConversionFlags flags);

/// UTF-16 to UTF-32, reading like `ConvertUTF16toUTF8`.
LOAM_EXPORT ConversionResult ConvertUTF16toUTF32(UTF16 const** sourceStart,
                                                 UTF16 const* sourceEnd,
                                                 UTF32** targetStart,
                                                 UTF32* targetEnd,
                                                 ConversionFlags flags);

/// UTF-32 to UTF-8. Values up to 0x1FFFFF come out in up to four bytes, those above 0x10FFFF too;
/// any value above them comes out as the two bytes FF BD, which is no UTF-8, and is not reported
/// under any flag.
LOAM_EXPORT ConversionResult ConvertUTF32toUTF8(UTF32 const** sourceStart,
                                                UTF32 const* sourceEnd,
                                                UTF8** targetStart,
                                                UTF8* targetEnd,
                                                ConversionFlags flags);

/// UTF-8 to UTF-32, reading like `ConvertUTF8toUTF16`. There is no strict form: surrogates pass
/// through.
LOAM_EXPORT ConversionResult ConvertUTF8toUTF32(UTF8 const** sourceStart,
                                                UTF8 const* sourceEnd,
                                                UTF32** targetStart,
                                                UTF32* targetEnd);

/// True if one well-formed sequence, as told at `ConvertUTF8toUTF16`, starts at `source` and ends
/// at or before `sourceEnd`. False for an empty range.
LOAM_EXPORT bool isLegalUTF8Sequence(UTF8 const* source, UTF8 const* sourceEnd);

/// True if the range holds no unpaired surrogate; here a high surrogate in the last place is one.
/// True for an empty range.
LOAM_EXPORT bool isLegalUTF16Sequence(UTF16 const* source, UTF16 const* sourceEnd);

/// The number of UTF-16 units that well-formed UTF-8 converts to. 0 for an empty range and where a
/// sequence reaches past the end. It does not look for malformed sequences as the conversion does:
/// with `strictConversion` it answers 0 for a value that is a surrogate or above 0x10FFFF, with any
/// other flags it counts such a value as one unit. A lead byte of F8 to FF gives 0 under all flags.
LOAM_EXPORT unsigned long
ComputeUTF16LengthFromUTF8(UTF8 const* source, UTF8 const* sourceEnd, ConversionFlags flags);

#ifdef __cplusplus
}
#endif
