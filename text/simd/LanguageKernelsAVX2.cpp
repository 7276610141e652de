#if defined(__x86_64__)

#define LOAM_VECTOR __attribute__((target("avx2")))
#define LOAM_VECTOR_INLINE __attribute__((always_inline)) LOAM_VECTOR inline

namespace {

typedef float __attribute__((vector_size(32), may_alias)) Floats;

}  // namespace

#include "text/simd/SumRows.h"

// Of 16 registers the sums of six groups take 12.
LOAM_VECTOR void SumRowsAVX2(SixteenFloats const* table,
                             size_t groups,
                             WeightedRows const& rows,
                             SixteenFloats* sums)
{
    SumGroups<6>(table, groups, rows, sums, groups);
}

#endif
