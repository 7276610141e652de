// Mapping with the vectors that every processor has, as far as text is ASCII, and unit by unit
// otherwise.
#include "text/simd/MappingKernels.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "text/CUnicodeMappingTable.h"

namespace {

using Lanes = std::uint16_t __attribute__((vector_size(16)));
using Words = std::uint64_t __attribute__((vector_size(16)));
using Offsets = int __attribute__((vector_size(16)));

constexpr int kWindow = 16;

// After a window that isn't ASCII, as many units are taken one by one, and after each further one
// twice as many, up to this: text of other scripts shall not pay for windows.
constexpr int kLongestStretch = 128;

constexpr char16_t kNoSingleUnit = CUnicodeMappingTable::kNoSingleUnit;

bool IsAny(Lanes lanes)
{
    auto const words = reinterpret_cast<Words>(lanes);
    return (words[0] | words[1]) != 0;
}

// Sixteen units, and what a table makes of those that are ASCII.
class CWindow
{
public:
    explicit CWindow(char16_t const* text) { std::memcpy(mHalves, text, sizeof mHalves); }

    bool IsASCII() const { return !IsAny((mHalves[0] | mHalves[1]) & 0xFF80); }

    // A to Z to a to z where `caseBit` is 0x20.
    void Fold(std::uint16_t caseBit)
    {
        for (Lanes& units : mHalves)
            units |= reinterpret_cast<Lanes>(units - 'A' < 26) & caseBit;
    }

    void Write(char16_t* target) const { std::memcpy(target, mHalves, sizeof mHalves); }

    // Whether any unit is `first` and has `second` at its place in `next`.
    bool HasPair(std::uint16_t first, CWindow const& next, std::uint16_t second) const
    {
        return IsAny(
            reinterpret_cast<Lanes>(((mHalves[0] == first) & (next.mHalves[0] == second)) |
                                    ((mHalves[1] == first) & (next.mHalves[1] == second))));
    }

private:
    Lanes mHalves[2];
};

// How a table treats ASCII.
struct ASCIIRule
{
    bool mIsPlain;           // kept or lowercased
    std::uint16_t mCaseBit;  // for `CWindow::Fold`

    explicit ASCIIRule(CUnicodeMappingTable const& table)
        : mIsPlain(table.GetASCIIMapping() != CUnicodeMappingTable::ASCIIMapping::kOther)
        , mCaseBit(table.GetASCIIMapping() == CUnicodeMappingTable::ASCIIMapping::kLowercased ? 0x20
                                                                                              : 0)
    {
    }
};

// `from` and the values behind it.
void WriteOffsets(int* target, int from)
{
    Offsets values = Offsets{0, 1, 2, 3} + from;
    for (int at = 0; at < kWindow; at += 4, values += 4)
        std::memcpy(target + at, &values, sizeof values);
}

bool IsDeleted(CUnicodeMappingTable const& table, char16_t unit)
{
    char16_t const* units = nullptr;
    int count = 1;
    table.FindEntry(unit, units, count);
    return count == 0;
}

template <bool kWithOffsets>
bool MapAll(CUnicodeMappingTable const& table,
            char16_t const* source,
            int sourceLength,
            int& sourcePos,
            char16_t* target,
            int targetCapacity,
            int& targetPos,
            int* offsets)
{
    ASCIIRule const rule(table);
    int from = sourcePos;
    int to = targetPos;
    int stretch = kWindow;
    while (from < sourceLength) {
        // As far as there is room for one unit each. The target's position may lie behind its end.
        int const end = from + std::clamp(targetCapacity - to, 0, sourceLength - from);
        for (; rule.mIsPlain && end - from >= kWindow; from += kWindow, to += kWindow) {
            CWindow window(source + from);
            if (!window.IsASCII()) break;
            window.Fold(rule.mCaseBit);
            window.Write(target + to);
            if constexpr (kWithOffsets) WriteOffsets(offsets + to, from);
            stretch = kWindow;
        }
        int const stop = from + std::min(end - from, stretch);
        stretch = std::min(2 * stretch, kLongestStretch);
        char16_t const* unit = source + from;
        char16_t const* const stopUnit = source + stop;
        char16_t* mapped = target + to;
        for (; unit != stopUnit; ++unit, ++mapped) {
            char16_t const single = table.MapToSingleUnit(*unit);
            if (single == kNoSingleUnit) [[unlikely]]
                break;
            *mapped = single;
            if constexpr (kWithOffsets) offsets[mapped - target] = static_cast<int>(unit - source);
        }
        from = static_cast<int>(unit - source);
        to = static_cast<int>(mapped - target);
        if (from == stop && stop < end) continue;
        if (from == sourceLength) break;

        char16_t const* units = &source[from];
        int count = 1;
        table.FindEntry(source[from], units, count);
        if (count > targetCapacity - to) {
            sourcePos = from;
            targetPos = to;
            return false;
        }
        for (int k = 0; k < count; ++k, ++to) {
            target[to] = units[k];
            if constexpr (kWithOffsets) offsets[to] = from;
        }
        ++from;
    }
    if constexpr (kWithOffsets) offsets[to] = from;
    sourcePos = from;
    targetPos = to;
    return true;
}

}  // namespace

bool MapUnitsPlain(CUnicodeMappingTable const& table,
                   char16_t const* source,
                   int sourceLength,
                   int& sourcePos,
                   char16_t* target,
                   int targetCapacity,
                   int& targetPos,
                   int* offsets)
{
    auto* const map = offsets ? MapAll<true> : MapAll<false>;
    return map(table, source, sourceLength, sourcePos, target, targetCapacity, targetPos, offsets);
}

int FindMappedStartPlain(CUnicodeMappingTable const& table,
                         char16_t const* text,
                         int textLength,
                         int at,
                         char16_t const* needle,
                         int needleLength)
{
    ASCIIRule const rule(table);
    char16_t const first = needle[0];
    bool const hasSecond = needleLength > 1;
    // Of a needle of one unit each unit is followed by the second.
    char16_t const second = hasSecond ? needle[1] : 0;
    int stretch = kWindow;
    while (at < textLength) {
        for (; hasSecond && rule.mIsPlain && textLength - at > kWindow; at += kWindow) {
            CWindow units(text + at);
            CWindow next(text + at + 1);
            if (!units.IsASCII() || !next.IsASCII()) break;
            units.Fold(rule.mCaseBit);
            next.Fold(rule.mCaseBit);
            if (units.HasPair(first, next, second)) break;
            stretch = kWindow;
        }
        int const stop = at + std::min(textLength - at, stretch);
        stretch = std::min(2 * stretch, kLongestStretch);
        for (; at < stop; ++at) {
            char16_t const single = table.MapToSingleUnit(text[at]);
            if (single != first && single != kNoSingleUnit) [[likely]]
                continue;
            if (single == kNoSingleUnit) {
                if (!IsDeleted(table, text[at])) return at;
                continue;
            }
            if (!hasSecond || at + 1 == textLength) return at;
            char16_t const next = table.MapToSingleUnit(text[at + 1]);
            if (next == second || next == kNoSingleUnit) return at;
        }
    }
    return at;
}
