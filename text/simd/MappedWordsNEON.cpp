#if defined(__aarch64__)

#include "text/simd/NEON.h"

#include "text/simd/MappedWordVectors.h"

LOAM_VECTOR bool NextStubWordNEON(MappedWordFacts const& facts,
                                  char16_t const* text,
                                  unsigned int length,
                                  unsigned int& start,
                                  unsigned int& rawLength,
                                  amortizedmemblock& block,
                                  unsigned int& mappedLength)
{
    return NextWord<StubWordRule>(facts, text, length, start, rawLength, block, mappedLength);
}

LOAM_VECTOR bool NextLegacyWordNEON(MappedWordFacts const& facts,
                                    char16_t const* text,
                                    unsigned int length,
                                    unsigned int& start,
                                    unsigned int& rawLength,
                                    amortizedmemblock& block,
                                    unsigned int& mappedLength)
{
    return NextWord<LegacyWordRule>(facts, text, length, start, rawLength, block, mappedLength);
}

#endif
