#if defined(__aarch64__)

#include "text/simd/NEON.h"

#include "text/simd/ByteVectors.h"
#include "text/simd/ScanVectors.h"

LOAM_VECTOR char16_t const*
FindFirstUnitNEON(CUnitSet& set, char16_t const* begin, char16_t const* end, bool isMember)
{
    return FindFirst(CMembers(set, isMember), begin, end);
}

LOAM_VECTOR char16_t const*
FindLastUnitNEON(CUnitSet& set, char16_t const* begin, char16_t const* end, bool isMember)
{
    return FindLast(CMembers(set, isMember), begin, end);
}

LOAM_VECTOR void ClassifyNEON(ByteBits const& set, unsigned char const* bytes, ByteBits& bits)
{
    ClassifyBlocks(set, bytes, bits);
}

LOAM_VECTOR void
WeighPairsNEON(unsigned char const* pairs, unsigned char const* end, UTF16Evidence& evidence)
{
    WeighBlocks(pairs, end, evidence);
}

#endif
