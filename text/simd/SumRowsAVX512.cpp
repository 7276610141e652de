#if defined(__x86_64__)

#include "text/simd/AVX512.h"

#define LOAM_VECTOR_INLINE LOAM_AVX512_INLINE

namespace {

typedef float __attribute__((vector_size(64), may_alias)) Floats;

}  // namespace

#include "text/simd/SumRows.h"

LOAM_AVX512 void SumRowsAVX512(SixteenFloats const* table,
                               size_t groups,
                               WeightedRows const& rows,
                               SixteenFloats* sums)
{
    SumGroups<8>(table, groups, rows, sums, groups);
}

#endif
