// Sixteen UTF-16 units at a time, as far as they are ASCII, and words of them. Inner to the word
// delimiters.
//
// Plain C++ with the compilers' vectors, which become SSE2 and NEON; only the step from lanes to
// bits has a form for each.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#elif defined(__ARM_NEON)
#include <arm_neon.h>
#endif

class CASCIIWindow
{
public:
    static constexpr std::size_t kSize = 16;

    // What sixteen units are, a bit for each, that of the first one lowest.
    struct Bits
    {
        unsigned int mTaken;   // letters and digits of ASCII, and symbols where they were asked for
        unsigned int mGapEnd;  // those, symbols, and all beyond ASCII
    };

    // Reads `kSize` units.
    explicit CASCIIWindow(char16_t const* text) { std::memcpy(mHalves, text, sizeof mHalves); }

    // # $ % & @ are the symbols of ASCII by the category table.
    template <bool kTakesSymbols>
    Bits Judge() const
    {
        Bytes const units = Narrow(mHalves[0], mHalves[1]);
        Bytes const others = Narrow(mHalves[0] > 0x7F, mHalves[1] > 0x7F);
        Bytes const letters = (units | 0x20) - 'a' < 26;
        Bytes const digits = units - '0' < 10;
        Bytes const symbols = (units - '#' < 4) | (units == '@');
        Bytes const words = letters | digits | symbols;
        Bytes const taken = kTakesSymbols ? words : letters | digits;
        return {BitsOf(taken & ~others), BitsOf(words | others)};
    }

    // Writes `kSize` units, A to Z as a to z where `caseBit` is 0x20 and all as they are where it
    // is 0.
    void Write(char16_t* target, std::uint16_t caseBit) const
    {
        Lanes const folded[2] = {Fold(mHalves[0], caseBit), Fold(mHalves[1], caseBit)};
        std::memcpy(target, folded, sizeof folded);
    }

private:
    using Lanes = std::uint16_t __attribute__((vector_size(16)));
    using Bytes = std::uint8_t __attribute__((vector_size(16)));

    // The low byte of each lane.
    template <class Vector>
    static Bytes Narrow(Vector low, Vector high)
    {
        return __builtin_convertvector(__builtin_shufflevector(low, high, 0, 1, 2, 3, 4, 5, 6, 7, 8,
                                                               9, 10, 11, 12, 13, 14, 15),
                                       Bytes);
    }

    static Lanes Fold(Lanes units, std::uint16_t caseBit)
    {
        return units | (reinterpret_cast<Lanes>(units - 'A' < 26) & caseBit);
    }

    static unsigned int BitsOf(Bytes bytes);

    Lanes mHalves[2];
};

inline unsigned int CASCIIWindow::BitsOf(Bytes bytes)
{
#if defined(__SSE2__)
    return static_cast<unsigned int>(_mm_movemask_epi8(reinterpret_cast<__m128i>(bytes)));
#elif defined(__ARM_NEON)
    uint8x16_t const weights = {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128};
    uint8x16_t const bits = vandq_u8(reinterpret_cast<uint8x16_t>(bytes), weights);
    return vaddv_u8(vget_low_u8(bits)) | unsigned{vaddv_u8(vget_high_u8(bits))} << 8;
#else
    unsigned int bits = 0;
    for (unsigned int i = 0; i < kSize; ++i)
        bits |= (bytes[i] & 1U) << i;
    return bits;
#endif
}

// What `FindASCIIWord` finds.
struct ASCIIWord
{
    std::size_t mStart;  // behind the gap, as far as that is ASCII
    std::size_t mCount;  // units found, all ASCII and a window of them at most
};

// Looks for letters and digits of ASCII, with `kTakesSymbols` symbols too, behind a gap of ASCII.
// Finds none where anything else comes first, or within two windows of the end. What it finds has a
// window of units from its start on.
template <bool kTakesSymbols>
[[gnu::always_inline]] inline ASCIIWord
FindASCIIWord(char16_t const* text, std::size_t length, std::size_t start)
{
    constexpr std::size_t kSize = CASCIIWindow::kSize;
    for (; start < length && length - start >= 2 * kSize; start += kSize) {
        CASCIIWindow::Bits bits = CASCIIWindow(text + start).Judge<kTakesSymbols>();
        if (bits.mGapEnd == 0) continue;

        int const gap = std::countr_zero(bits.mGapEnd);
        start += static_cast<std::size_t>(gap);
        int count = std::countr_one(bits.mTaken >> gap);
        if (count != 0 && count + gap == static_cast<int>(kSize)) {
            bits = CASCIIWindow(text + start).Judge<kTakesSymbols>();
            count = std::countr_one(bits.mTaken);
        }
        return {start, static_cast<std::size_t>(count)};
    }
    return {start, 0};
}
