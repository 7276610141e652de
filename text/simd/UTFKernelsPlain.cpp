#include "text/simd/TextKernels.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

// From UTF-8, each kind of character has a loop of its own, which ends at the first character of
// another kind: the branch that leaves it is the only one that the processor can't foresee. From
// UTF-16, where a character's length tells only where the next one is written, four units at a time
// go without any such branch.

namespace {

constexpr bool kIsLittleEndian = std::endian::native == std::endian::little;

// ASCII is taken by blocks of this many units.
constexpr ptrdiff_t kBlock = 8;
// Other units are looked at by as many as a word has lanes for.
constexpr ptrdiff_t kQuad = 4;
// As many units are there at the head of each round, and half as many within the loops of it, so
// that no step has to look at the ends.
constexpr ptrdiff_t kRoom = 2 * kBlock;

constexpr uint64_t kNotASCIIBytes = 0x8080808080808080;
constexpr uint64_t kNotASCIIUnits = 0xFF80FF80FF80FF80;

// The integers of memory whose first byte is their lowest, on every processor.
uint64_t Load64(UTF8 const* from)
{
    uint64_t word = 0;
    std::memcpy(&word, from, sizeof word);
    return kIsLittleEndian ? word : __builtin_bswap64(word);
}

uint32_t Load32(UTF8 const* from)
{
    uint32_t word = 0;
    std::memcpy(&word, from, sizeof word);
    return kIsLittleEndian ? word : __builtin_bswap32(word);
}

void Store16(UTF8* to, uint32_t word)
{
    auto half = static_cast<uint16_t>(word);
    if (!kIsLittleEndian) half = __builtin_bswap16(half);
    std::memcpy(to, &half, sizeof half);
}

void Store32(UTF8* to, uint32_t word)
{
    if (!kIsLittleEndian) word = __builtin_bswap32(word);
    std::memcpy(to, &word, sizeof word);
}

void WidenBlock(UTF8 const* source, AnyUTF16* target)
{
    UTF8 bytes[kBlock];
    UTF16 units[kBlock];
    std::memcpy(bytes, source, sizeof bytes);
    for (int i = 0; i < kBlock; ++i)
        units[i] = bytes[i];
    std::memcpy(target, units, sizeof units);
}

void NarrowBlock(AnyUTF16 const* source, UTF8* target)
{
    UTF16 units[kBlock];
    UTF8 bytes[kBlock];
    std::memcpy(units, source, sizeof units);
    for (int i = 0; i < kBlock; ++i)
        bytes[i] = static_cast<UTF8>(units[i]);
    std::memcpy(target, bytes, sizeof bytes);
}

// Sequences as a little-endian word, first what marks them by their bits, then what they mean.

constexpr bool IsTwoBytes(uint32_t word)
{
    return (word & 0xC0E0) == 0x80C0;
}

constexpr uint32_t TwoByteValue(uint32_t word)
{
    return (word & 0x1F) << 6 | (word >> 8 & 0x3F);
}

constexpr bool IsThreeBytes(uint32_t word)
{
    return (word & 0xC0C0F0) == 0x8080E0;
}

constexpr uint32_t ThreeByteValue(uint32_t word)
{
    return (word & 0xF) << 12 | (word >> 2 & 0xFC0) | (word >> 16 & 0x3F);
}

constexpr bool IsFourBytes(uint32_t word)
{
    return (word & 0xC0C0C0F8) == 0x808080F0;
}

constexpr uint32_t FourByteValue(uint32_t word)
{
    return (word & 0x7) << 18 | (word << 4 & 0x3F000) | (word >> 10 & 0xFC0) | (word >> 24 & 0x3F);
}

// The shortest form, and no surrogate.
constexpr bool IsPlainTwoByteValue(uint32_t value)
{
    return value >= 0x80;
}

constexpr bool IsPlainThreeByteValue(uint32_t value)
{
    return value >= 0x800 && (value & 0xF800) != 0xD800;
}

constexpr bool IsPlainFourByteValue(uint32_t value)
{
    return value >= 0x10000 && value <= 0x10FFFF;
}

constexpr uint32_t FourBytes(uint32_t value)
{
    return 0x808080F0 | value >> 18 | (value >> 4 & 0x3F00) | (value << 10 & 0x3F0000) |
           (value & 0x3F) << 24;
}

void WritePair(uint32_t value, AnyUTF16*& target)
{
    target[0] = static_cast<UTF16>(0xD7C0 + (value >> 10));
    target[1] = static_cast<UTF16>(0xDC00 + (value & 0x3FF));
    target += 2;
}

constexpr bool IsSurrogate(uint32_t unit)
{
    return (unit & 0xF800) == 0xD800;
}

constexpr bool IsPair(uint32_t high, uint32_t low)
{
    return (high & 0xFC00) == 0xD800 && (low & 0xFC00) == 0xDC00;
}

constexpr uint32_t PairValue(uint32_t high, uint32_t low)
{
    return 0x10000 + ((high & 0x3FF) << 10) + (low & 0x3FF);
}

bool IsASCIIBlock(UTF8 const* source)
{
    return (Load64(source) & kNotASCIIBytes) == 0;
}

// The ASCII at the head of a block that holds other bytes too, which `notASCII` marks.
void TakeASCII(uint64_t notASCII, UTF8 const*& source, AnyUTF16*& target)
{
    // A separator between words is mostly one byte, and costs less as such.
    int ascii = 1;
    if ((notASCII & 0x8000) != 0) {
        *target = *source;
    } else {
        WidenBlock(source, target);
        ascii = std::countr_zero(notASCII) / 8;
    }
    source += ascii;
    target += ascii;
}

// A round of the loops from UTF-8: goes on to `safe`, from which on there are `kRoom` bytes and as
// many units of room, or to a character that calls for a decision, and answers whether it was the
// former.
bool RoundToUTF16(UTF8 const*& source, UTF8 const* safe, AnyUTF16*& target)
{
    UTF8 const* const safeWithin = safe + kBlock;
    do {
        uint64_t const block = Load64(source);
        uint64_t const notASCII = block & kNotASCIIBytes;
        if (notASCII == 0) {
            WidenBlock(source, target);
            source += kBlock;
            target += kBlock;
            continue;
        }
        if ((block & 0x80) == 0) TakeASCII(notASCII, source, target);
        uint32_t word = Load32(source);
        if (IsTwoBytes(word)) {
            do {
                uint32_t const value = TwoByteValue(word);
                if (!IsPlainTwoByteValue(value)) return false;
                *target++ = static_cast<UTF16>(value);
                source += 2;
                word = Load32(source);
            } while (IsTwoBytes(word) && source <= safeWithin);
        } else if (IsThreeBytes(word)) {
            do {
                uint32_t const value = ThreeByteValue(word);
                if (!IsPlainThreeByteValue(value)) return false;
                *target++ = static_cast<UTF16>(value);
                source += 3;
                word = Load32(source);
            } while (IsThreeBytes(word) && source <= safeWithin);
        } else {
            if (!IsFourBytes(word) || !IsPlainFourByteValue(FourByteValue(word))) return false;
            WritePair(FourByteValue(word), target);
            source += 4;
        }
    } while (source <= safe);
    return true;
}

// The last characters before either end. A block of bytes may be read from `sourceStart` on.
void FinishToUTF16(UTF8 const* sourceStart,
                   UTF8 const*& source,
                   UTF8 const* sourceEnd,
                   AnyUTF16*& target,
                   AnyUTF16* targetEnd)
{
    while (sourceEnd - source >= kBlock && targetEnd - target >= kBlock && IsASCIIBlock(source)) {
        WidenBlock(source, target);
        source += kBlock;
        target += kBlock;
    }
    ptrdiff_t const rest = sourceEnd - source;
    if (rest < kBlock && rest <= targetEnd - target && sourceEnd - sourceStart >= kBlock &&
        IsASCIIBlock(sourceEnd - kBlock)) {
        // Together with what stands before it, once more.
        target += rest;
        source = sourceEnd;
        WidenBlock(source - kBlock, target - kBlock);
        return;
    }
    while (source < sourceEnd && target < targetEnd) {
        ptrdiff_t const left = sourceEnd - source;
        uint32_t word = source[0];
        if (word < 0x80) {
            *target++ = static_cast<UTF16>(word);
            ++source;
            continue;
        }
        // What isn't there reads as zero, which continues no sequence.
        if (left > 1) word |= uint32_t{source[1]} << 8;
        if (left > 2) word |= uint32_t{source[2]} << 16;
        if (left > 3) word |= uint32_t{source[3]} << 24;
        if (IsTwoBytes(word) && IsPlainTwoByteValue(TwoByteValue(word))) {
            *target++ = static_cast<UTF16>(TwoByteValue(word));
            source += 2;
        } else if (IsThreeBytes(word) && IsPlainThreeByteValue(ThreeByteValue(word))) {
            *target++ = static_cast<UTF16>(ThreeByteValue(word));
            source += 3;
        } else if (IsFourBytes(word) && IsPlainFourByteValue(FourByteValue(word)) &&
                   targetEnd - target >= 2) {
            WritePair(FourByteValue(word), target);
            source += 4;
        } else {
            return;
        }
    }
}

// Four units as lanes of a word, the first one lowest.
uint64_t LoadUnits(AnyUTF16 const* from)
{
    if (!kIsLittleEndian) {
        return from[0] | uint64_t{from[1]} << 16 | uint64_t{from[2]} << 32 |
               uint64_t{from[3]} << 48;
    }
    uint64_t word = 0;
    std::memcpy(&word, from, sizeof word);
    return word;
}

constexpr uint64_t InEachLane(uint64_t unit)
{
    return unit * 0x0001000100010001;
}

constexpr bool HasSurrogate(uint64_t lanes)
{
    // Five bits a lane, all zero for a surrogate.
    uint64_t const differs = (lanes ^ InEachLane(0xD800)) >> 11 & InEachLane(0x1F);
    return ((differs + InEachLane(0x7FFF)) & InEachLane(0x8000)) != InEachLane(0x8000);
}

// The lower two bytes of each unit's sequence of three. Those of a sequence of two are the same but
// for one bit.
constexpr uint64_t LastBytes(uint64_t lanes)
{
    return InEachLane(0x8080) | (lanes >> 6 & InEachLane(0x3F)) | (lanes & InEachLane(0x3F)) << 8;
}

constexpr uint32_t kTwoByteMark = 0x40;

constexpr uint32_t Lane(uint64_t lanes, int index)
{
    return lanes >> 16 * index & 0xFFFF;
}

// -1 if `unit` is above `limit`, otherwise 0. Compilers turn a choice between values into a branch,
// hence the masks.
constexpr int32_t MaskAbove(int32_t limit, uint32_t unit)
{
    return (limit - static_cast<int32_t>(unit)) >> 31;
}

constexpr uint32_t Choose(int32_t mask, uint32_t ifSet, uint32_t otherwise)
{
    return otherwise ^ ((otherwise ^ ifSet) & static_cast<uint32_t>(mask));
}

// Four units below 0x800, into room for 4 + 4 bytes.
[[gnu::always_inline]] inline void EncodeShort(uint64_t units, UTF8*& target)
{
    uint64_t const twoBytes = LastBytes(units) ^ InEachLane(kTwoByteMark);
    auto const encode = [&](int index) {
        uint32_t const unit = Lane(units, index);
        int32_t const isTwo = MaskAbove(0x7F, unit);
        Store16(target + index, Choose(isTwo, Lane(twoBytes, index), unit));
        target -= isTwo;
    };
    encode(0);
    encode(1);
    encode(2);
    encode(3);
    target += kQuad;
}

// Four units that are no surrogates, into room for 4 * 3 + 1 bytes.
[[gnu::always_inline]] inline void EncodePlain(uint64_t units, UTF8*& target)
{
    uint64_t const lastBytes = LastBytes(units);
    auto const encode = [&](int index) {
        uint32_t const unit = Lane(units, index);
        int32_t const isTwo = MaskAbove(0x7F, unit);
        int32_t const isThree = MaskAbove(0x7FF, unit);
        uint32_t const last = Lane(lastBytes, index);
        uint32_t const bytes = Choose(isThree, 0xE0 | unit >> 12 | last << 8, last ^ kTwoByteMark);
        Store32(target + index, Choose(isTwo, bytes, unit));
        target -= isTwo + isThree;
    };
    encode(0);
    encode(1);
    encode(2);
    encode(3);
    target += kQuad;
}

// One character that has room for four bytes; false if it calls for a decision.
[[gnu::always_inline]] inline bool EncodeOne(AnyUTF16 const*& source, UTF8*& target)
{
    uint32_t const unit = source[0];
    uint32_t const last = static_cast<uint32_t>(LastBytes(unit) & 0xFFFF);
    if (unit < 0x80) {
        *target++ = static_cast<UTF8>(unit);
    } else if (unit < 0x800) {
        Store16(target, last ^ kTwoByteMark);
        target += 2;
    } else if (!IsSurrogate(unit)) {
        Store32(target, 0xE0 | unit >> 12 | last << 8);
        target += 3;
    } else {
        if (!IsPair(unit, source[1])) return false;
        Store32(target, FourBytes(PairValue(unit, source[1])));
        target += 4;
        ++source;
    }
    ++source;
    return true;
}

// Four units that needn't be ASCII, or one character of them; room for 4 * 4 bytes.
[[gnu::always_inline]] inline bool EncodeQuad(AnyUTF16 const*& source, UTF8*& target)
{
    uint64_t const units = LoadUnits(source);
    if ((units & InEachLane(0xF800)) == 0) {
        EncodeShort(units, target);
    } else if (!HasSurrogate(units)) {
        EncodePlain(units, target);
    } else {
        return EncodeOne(source, target);
    }
    source += kQuad;
    return true;
}

bool IsASCIIBlock(AnyUTF16 const* source)
{
    return ((LoadUnits(source) | LoadUnits(source + kQuad)) & kNotASCIIUnits) == 0;
}

// A round of the loops from UTF-16: goes on to `safe`, from which on there are a block of units and
// room for three bytes each, or to a character that calls for a decision, and answers whether it
// was the former.
bool RoundToUTF8(AnyUTF16 const*& source, AnyUTF16 const* safe, UTF8*& target)
{
    do {
        if (IsASCIIBlock(source)) {
            NarrowBlock(source, target);
            source += kBlock;
            target += kBlock;
        } else if (!EncodeQuad(source, target)) {
            return false;
        }
    } while (source <= safe);
    return true;
}

// The last characters before either end. A block of units may be read from `sourceStart` on.
void FinishToUTF8(AnyUTF16 const* sourceStart,
                  AnyUTF16 const*& source,
                  AnyUTF16 const* sourceEnd,
                  UTF8*& target,
                  UTF8* targetEnd)
{
    ptrdiff_t const rest = sourceEnd - source;
    if (rest < kBlock && rest <= targetEnd - target && sourceEnd - sourceStart >= kBlock &&
        IsASCIIBlock(sourceEnd - kBlock)) {
        // Together with what stands before it, once more.
        target += rest;
        source = sourceEnd;
        NarrowBlock(source - kBlock, target - kBlock);
        return;
    }
    while (sourceEnd - source >= kQuad && targetEnd - target >= 4 * kQuad) {
        if (!EncodeQuad(source, target)) return;
    }
    // A character and one unit behind it.
    while (sourceEnd - source >= 2 && targetEnd - target >= 4) {
        if (!EncodeOne(source, target)) return;
    }
    while (source < sourceEnd && target < targetEnd && *source < 0x80) {
        *target++ = static_cast<UTF8>(*source++);
    }
}

}  // namespace

// The cursors are copied, so that they may stay in registers: what is written as bytes could be
// anything in memory.

void RunToUTF16Plain(UTF8 const*& sourceStart,
                     UTF8 const* sourceEnd,
                     AnyUTF16*& targetStart,
                     AnyUTF16* targetEnd)
{
    UTF8 const* source = sourceStart;
    AnyUTF16* target = targetStart;
    bool mayGoOn = true;
    while (mayGoOn) {
        // No character has more units than bytes.
        ptrdiff_t const room = std::min(sourceEnd - source, targetEnd - target);
        if (room < kRoom) break;
        mayGoOn = RoundToUTF16(source, source + (room - kRoom), target);
    }
    if (mayGoOn) FinishToUTF16(sourceStart, source, sourceEnd, target, targetEnd);
    sourceStart = source;
    targetStart = target;
}

void RunToUTF8Plain(AnyUTF16 const*& sourceStart,
                    AnyUTF16 const* sourceEnd,
                    UTF8*& targetStart,
                    UTF8* targetEnd)
{
    constexpr ptrdiff_t kMostBytes = 3;  // for a unit
    AnyUTF16 const* source = sourceStart;
    UTF8* target = targetStart;
    bool mayGoOn = true;
    while (mayGoOn) {
        ptrdiff_t const room = std::min(sourceEnd - source, (targetEnd - target) / kMostBytes);
        if (room < kBlock) break;
        mayGoOn = RoundToUTF8(source, source + (room - kBlock), target);
    }
    if (mayGoOn) FinishToUTF8(sourceStart, source, sourceEnd, target, targetEnd);
    sourceStart = source;
    targetStart = target;
}
