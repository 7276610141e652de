// Loops that look at text and write none, over vectors of 16 to 64 bytes: searches for units of a
// set, and the signs of UTF-16. Included by one source for each level, behind the header with its
// words (ByteVectors.h or AVX512Bytes.h), which also say for which target all this is compiled.
//
// Whether a byte is in a set of 256 is one look-up of a byte of the set by its upper five bits, and
// a test of the bit that the lower three name: the way of Wojciech Muła's "SIMD byte lookup"
// (http://0x80.pl/articles/simd-byte-lookup.html), which is that of Geoff Langdale's and Daniel
// Lemire's classification in "Parsing Gigabytes of JSON per Second" (VLDB Journal 28/6, 2019).
#pragma once

#include "text/simd/ScanKernels.h"
#include "text/tables/CharsetBytes.h"

#include <bit>
#include <cstring>

namespace {

inline constexpr std::ptrdiff_t kPlaces = sizeof(Bytes);
inline constexpr Places kAllPlaces = static_cast<Places>(~std::uint64_t{0} >> (64 - kPlaces));

// Where the bits of bytes stand in any set.
struct BitsInSet
{
    Bytes mByte;
    Bytes mBit;
};

LOAM_VECTOR_INLINE BitsInSet BitsOfAny(Bytes bytes)
{
    return {MovedDown(bytes, 3) & EachByte(0x1F), PowersOfTwo(bytes & EachByte(7))};
}

LOAM_VECTOR_INLINE Places WhereIn(ByteBits const& set, BitsInSet const& bits)
{
    return WhereSet(LookUp(set.mBytes, bits.mByte), bits.mBit);
}

// Looks for members of a set, or for all others, a vector of units at a time.
class CMembers
{
public:
    LOAM_VECTOR_INLINE CMembers(CUnitSet& set, bool isMember)
        : mSet(set)
        , mFlip(isMember ? 0 : kAllPlaces)
    {
    }

    LOAM_VECTOR_INLINE Places FindHits(char16_t const* text) { return Where(text) ^ mFlip; }

private:
    LOAM_VECTOR_INLINE Places Where(char16_t const* text)
    {
        HalvedUnits const units = LoadUnits(text);
        BitsInSet const pages = BitsOfAny(units.mHigh);
        Places members = WhereIn(mSet.GetWhole(), pages);
        Places left = WhereIn(mSet.GetMixed(), pages);
        if (left == 0) return members;

        BitsInSet const bits = BitsOfAny(units.mLow);
        if (++mBlocks % kBlocks == 0) mUsualCount = 0;
        for (unsigned int i = 0; i < mUsualCount; ++i)
            members |= TakePage(mUsual[i], units, bits, left);
        while (left != 0) {
            unsigned int const page = text[std::countr_zero(left)] >> 8;
            members |= TakePage(page, units, bits, left);
            if (mUsualCount < kUsual) mUsual[mUsualCount++] = page;
        }
        return members;
    }

    // Pages that were met are asked for again in the blocks that follow, for a while: whether they
    // occur is nothing that a processor can foresee, and a wrong guess takes longer than they do.
    static constexpr unsigned int kUsual = 8;
    static constexpr unsigned int kBlocks = 32;

    LOAM_VECTOR_INLINE Places TakePage(unsigned int page,
                                       HalvedUnits const& units,
                                       BitsInSet const& bits,
                                       Places& left)
    {
        Places const here = WhereEqual(units.mHigh, EachByte(static_cast<unsigned char>(page)));
        left &= ~here;
        return here & WhereIn(mSet.GetPage(page), bits);
    }

    CUnitSet& mSet;
    Places mFlip;
    unsigned int mUsual[kUsual] = {};
    unsigned int mUsualCount = 0;
    unsigned int mBlocks = 0;
};

template <class Members>
LOAM_VECTOR_INLINE char16_t const*
FindFirst(Members members, char16_t const* begin, char16_t const* end)
{
    for (char16_t const* at = begin;; at += kPlaces) {
        // The last ones are looked at together with some of those before them, where nothing was.
        if (end - at < kPlaces) at = end - kPlaces;
        Places const hits = members.FindHits(at);
        if (hits != 0) return at + std::countr_zero(hits);
        if (end - at == kPlaces) return nullptr;
    }
}

template <class Members>
LOAM_VECTOR_INLINE char16_t const*
FindLast(Members members, char16_t const* begin, char16_t const* end)
{
    for (;;) {
        if (end - begin < kPlaces) end = begin + kPlaces;
        end -= kPlaces;
        Places const hits = members.FindHits(end);
        if (hits != 0) return end + std::bit_width(hits) - 1;
        if (end == begin) return nullptr;
    }
}

LOAM_VECTOR_INLINE void
ClassifyBlocks(ByteBits const& set, unsigned char const* bytes, ByteBits& bits)
{
    for (std::size_t at = 0; at < 0x100; at += sizeof(Bytes)) {
        Places const places = WhereIn(set, BitsOfAny(LoadFrom<Bytes>(bytes + at)));
        std::memcpy(bits.mBytes + at / 8, &places, sizeof(Bytes) / 8);
    }
}

inline constexpr ByteBits BytesOfWeight(UTF16Weight weight)
{
    ByteBits bytes = {};
    for (unsigned int byte = 0; byte < 0x100; ++byte) {
        if (WeighBytes()[byte] == weight) bytes.Add(byte);
    }
    return bytes;
}

inline constexpr ByteBits kRareWhenSwapped = BytesOfWeight(UTF16Weight::kSwappedIsRare);
inline constexpr ByteBits kImplausibleWhenSwapped =
    BytesOfWeight(UTF16Weight::kSwappedIsImplausible);

// The places that follow those of `places`, the last of the block before among them.
LOAM_VECTOR_INLINE Places Following(Places places, Places former)
{
    return (places << 1 | former >> (kPlaces - 1)) & kAllPlaces;
}

// One byte order's view of pairs, by the bytes that it takes for the high ones.
class COrder
{
public:
    // `high` are those of the pair before.
    LOAM_VECTOR_INLINE explicit COrder(unsigned char high)
        : mFormerZeros(Places{high == 0} << (kPlaces - 1))
        , mFormerLeads(Places{(high & 0xFC) == 0xD8} << (kPlaces - 1))
    {
    }

    LOAM_VECTOR_INLINE void
    Take(Bytes high, Places zeros, Places rare, Places implausible, Places varying)
    {
        Bytes const kind = high & EachByte(0xFC);
        Places const leads = WhereEqual(kind, EachByte(0xD8));
        Places const trails = WhereEqual(kind, EachByte(0xDC));
        mBad |= trails ^ Following(leads, mFormerLeads);
        mBad |= WhereAtMost(high - EachByte(0xE0), 0xF8 - 0xE0);
        mConclusive |= implausible & zeros;
        mZeros |= zeros;
        mCommon += static_cast<unsigned int>(std::popcount(rare & zeros));
        mVarying += static_cast<unsigned int>(
            std::popcount(varying & zeros & Following(zeros, mFormerZeros)));
        mFormerLeads = leads;
        mFormerZeros = zeros;
    }

    LOAM_VECTOR_INLINE void AddTo(UTF16Signs& signs) const
    {
        signs.mCommon += mCommon;
        signs.mVarying += mVarying;
        signs.mConclusive |= mConclusive != 0;
        signs.mBad |= mBad != 0;
        signs.mZeros |= mZeros != 0;
    }

private:
    Places mFormerZeros;
    Places mFormerLeads;
    Places mBad = 0;
    Places mConclusive = 0;
    Places mZeros = 0;
    unsigned long long mCommon = 0;
    unsigned long long mVarying = 0;
};

LOAM_VECTOR_INLINE void
WeighBlocks(unsigned char const* pairs, unsigned char const* end, UTF16Evidence& evidence)
{
    COrder big(pairs[-2]);
    COrder little(pairs[-1]);
    for (; end - pairs >= 2 * kPlaces; pairs += 2 * kPlaces) {
        // By units of the processor's order, as both systems have it: the first byte is the low
        // one.
        HalvedUnits const halves = LoadUnits(pairs);
        Bytes const first = halves.mLow;
        Bytes const second = halves.mHigh;
        Places const firstZeros = WhereEqual(first, EachByte(0));
        Places const secondZeros = WhereEqual(second, EachByte(0));
        if ((firstZeros & secondZeros) != 0) {
            evidence.mHasNull = true;
            return;
        }
        // Where one of them is zero, this is the other.
        BitsInSet const bits = BitsOfAny(first | second);
        Places const rare = WhereIn(kRareWhenSwapped, bits);
        Places const implausible = WhereIn(kImplausibleWhenSwapped, bits);
        Places const varying = ~WhereSameUnits(pairs, pairs - 2);
        big.Take(first, firstZeros, rare, implausible, varying);
        little.Take(second, secondZeros, rare, implausible, varying);
    }
    big.AddTo(evidence.mBig);
    little.AddTo(evidence.mLittle);
    WeighPairsPlain(pairs, end, evidence);
}

}  // namespace
