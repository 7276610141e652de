#if defined(__x86_64__)

#include "text/simd/AVX2.h"

#include "text/simd/ByteVectors.h"
#include "text/simd/ScanVectors.h"

LOAM_VECTOR char16_t const*
FindFirstUnitAVX2(CUnitSet& set, char16_t const* begin, char16_t const* end, bool isMember)
{
    return FindFirst(CMembers(set, isMember), begin, end);
}

LOAM_VECTOR char16_t const*
FindLastUnitAVX2(CUnitSet& set, char16_t const* begin, char16_t const* end, bool isMember)
{
    return FindLast(CMembers(set, isMember), begin, end);
}

LOAM_VECTOR void ClassifyAVX2(ByteBits const& set, unsigned char const* bytes, ByteBits& bits)
{
    ClassifyBlocks(set, bytes, bits);
}

LOAM_VECTOR void
WeighPairsAVX2(unsigned char const* pairs, unsigned char const* end, UTF16Evidence& evidence)
{
    WeighBlocks(pairs, end, evidence);
}

#endif
