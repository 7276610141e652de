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

// No branch looks for blanks: where words end can't be foreseen.
size_t TakeBytesPlain(char const* text, size_t size, unsigned char* row, bool& takesBlank)
{
    size_t taken = 0;
    bool takes = takesBlank;
    for (size_t i = 0; i < size; ++i) {
        auto const byte = static_cast<unsigned char>(text[i]);
        row[taken] = byte;
        bool const isTaken = byte >= ' ' + !takes;
        taken += isTaken;
        takes = isTaken ? byte != ' ' : takes;
    }
    takesBlank = takes;
    return taken;
}

// No branch here either.
size_t ListFilledPlain(uint32_t const* entries, size_t count, uint16_t* places)
{
    size_t filled = 0;
    for (size_t i = 0; i < count; ++i) {
        places[filled] = static_cast<uint16_t>(i);
        filled += entries[i] != 0;
    }
    return filled;
}
