#include <cstddef>

#define LOAM_VECTOR_INLINE __attribute__((always_inline)) inline

namespace {

// The compilers' vectors, which become SSE2 and NEON.
typedef float __attribute__((vector_size(16), may_alias)) Floats;

#if defined(__x86_64__)
constexpr size_t kRegisters = 16;
#else
constexpr size_t kRegisters = 32;
#endif
// Three quarters of them: a group's sums take four.
constexpr size_t kGroupsAtOnce = kRegisters * 3 / 4 / 4;

}  // namespace

#include "text/simd/SumRows.h"

void SumRowsPlain(SixteenFloats const* table,
                  size_t groups,
                  WeightedRows const& rows,
                  SixteenFloats* sums)
{
    SumGroups<kGroupsAtOnce>(table, groups, rows, sums, groups);
}
