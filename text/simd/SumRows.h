// Adding up rows of a table, written once over the vectors of any level. For those files alone that
// are a level's loop: they say beforehand what `Floats` and `LOAM_VECTOR_INLINE` are. They are
// compiled without contraction, which would round once where others round twice, after a product
// and after its sum.
#pragma once

#include "text/simd/LanguageKernels.h"

#include <cstddef>
#include <cstring>
#include <utility>

namespace {

template <size_t... kAt>
LOAM_VECTOR_INLINE void SumVectors(SixteenFloats const* table,
                                   size_t groups,
                                   WeightedRows const& rows,
                                   SixteenFloats* sums,
                                   std::index_sequence<kAt...>)
{
    Floats all[sizeof...(kAt)] = {};
    for (size_t i = 0; i < rows.mCount; ++i) {
        auto const* const row = reinterpret_cast<Floats const*>(table + rows.mRows[i] * groups);
        float const weight = rows.mWeights[i];
        ((all[kAt] += row[kAt] * weight), ...);
    }
    std::memcpy(sums, all, sizeof all);
}

// The last `left` groups of each row, `kAtOnce` of them in one pass: as many as there are registers
// for their sums, none of which then waits for its own last step.
template <size_t kAtOnce>
LOAM_VECTOR_INLINE void SumGroups(SixteenFloats const* table,
                                  size_t groups,
                                  WeightedRows const& rows,
                                  SixteenFloats* sums,
                                  size_t left)
{
    constexpr size_t kVectors = kAtOnce * sizeof(SixteenFloats) / sizeof(Floats);
    for (; left >= kAtOnce; left -= kAtOnce) {
        SumVectors(table + (groups - left), groups, rows, sums + (groups - left),
                   std::make_index_sequence<kVectors>());
    }
    if constexpr (kAtOnce > 1) SumGroups<kAtOnce - 1>(table, groups, rows, sums, left);
}

}  // namespace
