#include "text/simd/ScanKernels.h"

#include "text/tables/CharsetBytes.h"

namespace {

// One byte order's view of a pair, behind `former`.
void Weigh(unsigned char formerHigh,
           unsigned char formerLow,
           unsigned char high,
           unsigned char low,
           UTF16Signs& signs)
{
    bool const isPrivate = high >= 0xE0 && high <= 0xF8;
    bool const isLowSurrogate = (high & 0xFC) == 0xDC;
    bool const isAfterHighSurrogate = (formerHigh & 0xFC) == 0xD8;
    signs.mBad = signs.mBad || isPrivate || isLowSurrogate != isAfterHighSurrogate;
    if (high != 0) return;

    UTF16Weight const weight = sUTF16WithHighByteNullIsCommonButSwappedIs[low];
    signs.mCommon += weight == UTF16Weight::kSwappedIsRare;
    signs.mConclusive = signs.mConclusive || weight == UTF16Weight::kSwappedIsImplausible;
    signs.mVarying += formerHigh == 0 && formerLow != low;
    signs.mZeros = true;
}

}  // namespace

char16_t const*
FindFirstUnitPlain(CUnitSet& set, char16_t const* begin, char16_t const* end, bool isMember)
{
    for (; begin < end; ++begin) {
        if (set.Has(*begin) == isMember) return begin;
    }
    return nullptr;
}

char16_t const*
FindLastUnitPlain(CUnitSet& set, char16_t const* begin, char16_t const* end, bool isMember)
{
    while (end > begin) {
        if (set.Has(*--end) == isMember) return end;
    }
    return nullptr;
}

void ClassifyPlain(ByteBits const& set, unsigned char const* bytes, ByteBits& bits)
{
    for (unsigned int at = 0; at < 0x100; at += 8) {
        unsigned int eight = 0;
        for (unsigned int i = 0; i < 8; ++i)
            eight |= static_cast<unsigned int>(set.Has(bytes[at + i])) << i;
        bits.mBytes[at / 8] = static_cast<unsigned char>(eight);
    }
}

void WeighPairsPlain(unsigned char const* pairs, unsigned char const* end, UTF16Evidence& evidence)
{
    for (; end - pairs >= 2; pairs += 2) {
        if (pairs[0] == 0 && pairs[1] == 0) {
            evidence.mHasNull = true;
            return;
        }
        Weigh(pairs[-2], pairs[-1], pairs[0], pairs[1], evidence.mBig);
        Weigh(pairs[-1], pairs[-2], pairs[1], pairs[0], evidence.mLittle);
    }
}
