#include "text/ConvertUTF.h"

#include "text/simd/TextKernels.h"

namespace {

constexpr UTF32 kReplacement = 0xFFFD;
constexpr UTF32 kLastUnicode = 0x10FFFF;

constexpr bool IsSurrogate(UTF32 value)
{
    return value >= 0xD800 && value <= 0xDFFF;
}

constexpr bool IsHigh(UTF32 unit)
{
    return unit >= 0xD800 && unit <= 0xDBFF;
}

constexpr bool IsLow(UTF32 unit)
{
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

// What a lead byte promises. A continuation byte promises nothing: it is refused when it is looked
// at as a lead.
constexpr int TrailingBytes(UTF8 lead)
{
    if (lead < 0xC0) return 0;
    if (lead < 0xE0) return 1;
    if (lead < 0xF0) return 2;
    if (lead < 0xF8) return 3;
    if (lead < 0xFC) return 4;
    return 5;
}

// Unicode 13.0, table 3-7. All `trailing` bytes are there to be read.
//
// Kept on purpose: the rule for the lead byte ED is left out, so that surrogates get as far as the
// flags.
bool IsWellFormed(UTF8 const* source, int trailing)
{
    UTF8 const lead = source[0];
    if (trailing > 3 || (lead >= 0x80 && lead <= 0xC1) || lead > 0xF4) return false;
    for (int i = 1; i <= trailing; ++i) {
        if (source[i] < 0x80 || source[i] > 0xBF) return false;
    }
    if (lead == 0xE0) return source[1] >= 0xA0;
    if (lead == 0xF0) return source[1] >= 0x90;
    if (lead == 0xF4) return source[1] <= 0x8F;
    return true;
}

// The value of a sequence whose trailing bytes need not be such. It wraps where they pull it below
// zero.
UTF32 Accumulate(UTF8 const* source, int trailing)
{
    // What the marks of lead and trailing bytes add up to.
    constexpr UTF32 kMarks[] = {0x0, 0x3080, 0xE2080, 0x3C82080};
    UTF32 value = source[0];
    for (int i = 1; i <= trailing; ++i)
        value = (value << 6) + source[i];
    return value - kMarks[trailing];
}

struct Character
{
    UTF32 mValue = 0;
    int mLength = 1;  // in units of the source
    ConversionResult mResult = conversionOK;
};

Character ReadUTF8(UTF8 const* source, UTF8 const* sourceEnd)
{
    int const trailing = TrailingBytes(*source);
    // Kept on purpose: before any look at the bytes, so that even a lead byte that is never legal
    // is taken at its word near the end.
    if (sourceEnd - source <= trailing) return {0, 0, sourceExhausted};
    if (!IsWellFormed(source, trailing)) return {0, 0, sourceIllegal};
    return {Accumulate(source, trailing), trailing + 1, conversionOK};
}

// What the flags make of a surrogate on its own.
Character LoneSurrogate(UTF32 value, ConversionFlags flags)
{
    if (flags == strictConversion) return {0, 0, sourceIllegal};
    return {flags == lenientConversion ? value : kReplacement, 1, conversionOK};
}

Character ReadUTF16(AnyUTF16 const* source, AnyUTF16 const* sourceEnd, ConversionFlags flags)
{
    UTF32 const unit = source[0];
    if (IsLow(unit)) return LoneSurrogate(unit, flags);
    // Kept on purpose: a high surrogate at the very end passes as an ordinary value, under all
    // flags.
    if (!IsHigh(unit) || sourceEnd - source < 2) return {unit, 1, conversionOK};
    UTF32 const next = source[1];
    if (!IsLow(next)) return LoneSurrogate(unit, flags);
    return {0x10000 + ((unit - 0xD800) << 10) + (next - 0xDC00), 2, conversionOK};
}

constexpr int UnitsUTF16(UTF32 value)
{
    return value < 0x10000 ? 1 : 2;
}

void WriteUTF16(UTF32 value, AnyUTF16*& target)
{
    if (value < 0x10000) {
        *target++ = static_cast<UTF16>(value);
        return;
    }
    *target++ = static_cast<UTF16>(0xD800 + ((value - 0x10000) >> 10));
    *target++ = static_cast<UTF16>(0xDC00 + (value & 0x3FF));
}

constexpr int BytesUTF8(UTF32 value)
{
    if (value < 0x80) return 1;
    if (value < 0x800) return 2;
    if (value < 0x10000) return 3;
    return 4;
}

// Writes the low bits of `value` in `count` bytes, with the marks of a sequence of that length.
void WriteUTF8(UTF32 value, int count, UTF8*& target)
{
    constexpr UTF8 kFirstByteMark[] = {0x00, 0x00, 0xC0, 0xE0, 0xF0};
    for (int i = count - 1; i > 0; --i) {
        target[i] = static_cast<UTF8>((value & 0x3F) | 0x80);
        value >>= 6;
    }
    target[0] = static_cast<UTF8>(value | kFirstByteMark[count]);
    target += count;
}

// From where a run of characters without decisions has stopped: takes the next one by the full
// rules and runs again. Most texts never come here, so their calls are spared its registers.

[[gnu::noinline]] ConversionResult GoOnToUTF16(RunToUTF16& run,
                                               UTF8 const*& source,
                                               UTF8 const* sourceEnd,
                                               AnyUTF16*& target,
                                               AnyUTF16* targetEnd,
                                               ConversionFlags flags)
{
    while (source < sourceEnd) {
        Character const read = ReadUTF8(source, sourceEnd);
        if (read.mResult != conversionOK) return read.mResult;
        UTF32 value = read.mValue;
        if (targetEnd - target < UnitsUTF16(value)) return targetExhausted;
        if (IsSurrogate(value)) {
            Character const lone = LoneSurrogate(value, flags);
            if (lone.mResult != conversionOK) return lone.mResult;
            value = lone.mValue;
        }
        WriteUTF16(value, target);
        source += read.mLength;
        run(source, sourceEnd, target, targetEnd);
    }
    return conversionOK;
}

[[gnu::noinline]] ConversionResult GoOnToUTF8(RunToUTF8& run,
                                              AnyUTF16 const*& source,
                                              AnyUTF16 const* sourceEnd,
                                              UTF8*& target,
                                              UTF8* targetEnd,
                                              ConversionFlags flags)
{
    while (source < sourceEnd) {
        Character const read = ReadUTF16(source, sourceEnd, flags);
        if (read.mResult != conversionOK) return read.mResult;
        int const count = BytesUTF8(read.mValue);
        if (targetEnd - target < count) return targetExhausted;
        WriteUTF8(read.mValue, count, target);
        source += read.mLength;
        run(source, sourceEnd, target, targetEnd);
    }
    return conversionOK;
}

}  // namespace

ConversionResult WholeToUTF16ByRuns(UTF8 const** sourceStart,
                                    UTF8 const* sourceEnd,
                                    UTF16** targetStart,
                                    UTF16* targetEnd,
                                    ConversionFlags flags)
{
    UTF8 const* source = *sourceStart;
    AnyUTF16* target = *targetStart;
    RunToUTF16& run = *GetTextKernels().mToUTF16;
    run(source, sourceEnd, target, targetEnd);
    ConversionResult const result =
        source < sourceEnd ? GoOnToUTF16(run, source, sourceEnd, target, targetEnd, flags)
                           : conversionOK;
    *sourceStart = source;
    *targetStart = target;
    return result;
}

ConversionResult ConvertUTF8toUTF16(UTF8 const** sourceStart,
                                    UTF8 const* sourceEnd,
                                    UTF16** targetStart,
                                    UTF16* targetEnd,
                                    ConversionFlags flags)
{
    return GetTextKernels().mWholeToUTF16(sourceStart, sourceEnd, targetStart, targetEnd, flags);
}

ConversionResult ConvertUTF8toUTF32(UTF8 const** sourceStart,
                                    UTF8 const* sourceEnd,
                                    UTF32** targetStart,
                                    UTF32* targetEnd)
{
    ConversionResult result = conversionOK;
    UTF8 const* source = *sourceStart;
    UTF32* target = *targetStart;
    while (source < sourceEnd) {
        Character const read = ReadUTF8(source, sourceEnd);
        result = read.mResult;
        if (result != conversionOK) break;
        if (target >= targetEnd) {
            result = targetExhausted;
            break;
        }
        *target++ = read.mValue;
        source += read.mLength;
    }
    *sourceStart = source;
    *targetStart = target;
    return result;
}

ConversionResult WholeToUTF8ByRuns(UTF16 const** sourceStart,
                                   UTF16 const* sourceEnd,
                                   UTF8** targetStart,
                                   UTF8* targetEnd,
                                   ConversionFlags flags)
{
    AnyUTF16 const* source = *sourceStart;
    UTF8* target = *targetStart;
    RunToUTF8& run = *GetTextKernels().mToUTF8;
    run(source, sourceEnd, target, targetEnd);
    ConversionResult const result =
        source < sourceEnd ? GoOnToUTF8(run, source, sourceEnd, target, targetEnd, flags)
                           : conversionOK;
    *sourceStart = source;
    *targetStart = target;
    return result;
}

ConversionResult ConvertUTF16toUTF8(UTF16 const** sourceStart,
                                    UTF16 const* sourceEnd,
                                    UTF8** targetStart,
                                    UTF8* targetEnd,
                                    ConversionFlags flags)
{
    return GetTextKernels().mWholeToUTF8(sourceStart, sourceEnd, targetStart, targetEnd, flags);
}

ConversionResult ConvertUTF16toUTF32(UTF16 const** sourceStart,
                                     UTF16 const* sourceEnd,
                                     UTF32** targetStart,
                                     UTF32* targetEnd,
                                     ConversionFlags flags)
{
    ConversionResult result = conversionOK;
    AnyUTF16 const* source = *sourceStart;
    UTF32* target = *targetStart;
    while (source < sourceEnd) {
        Character const read = ReadUTF16(source, sourceEnd, flags);
        result = read.mResult;
        if (result != conversionOK) break;
        if (target >= targetEnd) {
            result = targetExhausted;
            break;
        }
        *target++ = read.mValue;
        source += read.mLength;
    }
    *sourceStart = source;
    *targetStart = target;
    return result;
}

ConversionResult ConvertUTF32toUTF16(UTF32 const** sourceStart,
                                     UTF32 const* sourceEnd,
                                     UTF16** targetStart,
                                     UTF16* targetEnd,
                                     ConversionFlags flags)
{
    ConversionResult result = conversionOK;
    UTF32 const* source = *sourceStart;
    AnyUTF16* target = *targetStart;
    for (; source < sourceEnd; ++source) {
        UTF32 value = *source;
        // Room comes first here, even for a value that will write nothing.
        bool const isFull = target >= targetEnd;
        if (!isFull && value > kLastUnicode) {
            if (flags == strictConversion) {
                // Kept on purpose: what can't be converted is left out, and told only at the end.
                result = sourceIllegal;
                continue;
            }
            value = kReplacement;
        }
        if (isFull || targetEnd - target < UnitsUTF16(value)) {
            result = targetExhausted;
            break;
        }
        if (IsSurrogate(value)) {
            Character const lone = LoneSurrogate(value, flags);
            if (lone.mResult != conversionOK) {
                result = lone.mResult;
                break;
            }
            value = lone.mValue;
        }
        WriteUTF16(value, target);
    }
    *sourceStart = source;
    *targetStart = target;
    return result;
}

ConversionResult ConvertUTF32toUTF8(UTF32 const** sourceStart,
                                    UTF32 const* sourceEnd,
                                    UTF8** targetStart,
                                    UTF8* targetEnd,
                                    ConversionFlags flags)
{
    constexpr UTF32 kLastFourByteValue = 0x1FFFFF;
    ConversionResult result = conversionOK;
    UTF32 const* source = *sourceStart;
    UTF8* target = *targetStart;
    for (; source < sourceEnd; ++source) {
        UTF32 value = *source;
        if (IsSurrogate(value)) {
            Character const lone = LoneSurrogate(value, flags);
            result = lone.mResult;
            if (result != conversionOK) break;
            value = lone.mValue;
        }
        int count = BytesUTF8(value);
        if (value > kLastFourByteValue) {
            // Kept on purpose: hosts know these values by the bytes FF BD, U+FFFD forced into two
            // bytes.
            value = kReplacement;
            count = 2;
        }
        if (targetEnd - target < count) {
            result = targetExhausted;
            break;
        }
        WriteUTF8(value, count, target);
    }
    *sourceStart = source;
    *targetStart = target;
    return result;
}

bool isLegalUTF8Sequence(UTF8 const* source, UTF8 const* sourceEnd)
{
    if (source >= sourceEnd) return false;
    int const trailing = TrailingBytes(*source);
    return sourceEnd - source > trailing && IsWellFormed(source, trailing);
}

bool isLegalUTF16Sequence(UTF16 const* sourceStart, UTF16 const* sourceEnd)
{
    AnyUTF16 const* source = sourceStart;
    while (source < sourceEnd) {
        if (!IsSurrogate(*source)) {
            ++source;
            continue;
        }
        if (!IsHigh(*source) || sourceEnd - source < 2 || !IsLow(source[1])) return false;
        source += 2;
    }
    return true;
}

unsigned long
ComputeUTF16LengthFromUTF8(UTF8 const* source, UTF8 const* sourceEnd, ConversionFlags flags)
{
    unsigned long units = 0;
    while (source < sourceEnd) {
        int const trailing = TrailingBytes(*source);
        if (sourceEnd - source <= trailing || trailing > 3) return 0;
        UTF32 const value = Accumulate(source, trailing);
        bool const isScalar = value <= kLastUnicode && !IsSurrogate(value);
        if (flags == strictConversion && !isScalar) return 0;
        units += isScalar && value >= 0x10000 ? 2 : 1;
        source += trailing + 1;
    }
    return units;
}
