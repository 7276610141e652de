#if defined(__x86_64__)

#include "text/simd/AVX2.h"

#include "text/simd/UTFVectorsToUTF16.h"
#include "text/simd/UTFVectorsToUTF8.h"

LOAM_VECTOR void
RunToUTF16AVX2(UTF8 const*& source, UTF8 const* sourceEnd, AnyUTF16*& target, AnyUTF16* targetEnd)
{
    ConvertToUTF16(source, sourceEnd, target, targetEnd);
}

LOAM_VECTOR void
RunToUTF8AVX2(AnyUTF16 const*& source, AnyUTF16 const* sourceEnd, UTF8*& target, UTF8* targetEnd)
{
    ConvertToUTF8(source, sourceEnd, target, targetEnd);
}

#endif
