// The loops of `CUnicodeMappingTable`: mapping raw text, and finding where a mapped needle can
// begin in it.
//
// They read nothing outside of the text, write nothing but what they tell, and may be called by any
// thread. Positions are indices of units.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

class CUnicodeMappingTable;

/// What a search compares in place of mapped units: a byte of each, so that a vector holds twice as
/// many. Units that have the same code are told apart where a hit is looked at; those of a page
/// have different ones, but for the last three.
namespace SearchCode {

/// Of a unit that gives nothing, and of one that gives several.
inline constexpr std::uint8_t kDeleted = 0xFF;
inline constexpr std::uint8_t kSeveral = 0xFE;
inline constexpr std::uint8_t kHighest = 0xFD;

/// By the lower six bits of a page, what its units' lower bytes are changed by, so that scripts
/// differ.
inline constexpr std::size_t kPages = 64;
alignas(64) inline constexpr std::array<std::uint8_t, kPages> kOfPages = [] {
    std::array<std::uint8_t, kPages> codes{};
    for (std::size_t page = 0; page < kPages; ++page)
        codes[page] = static_cast<std::uint8_t>(page * 0x9D);
    return codes;
}();

constexpr std::uint8_t Of(char16_t mappedUnit)
{
    auto const code = static_cast<std::uint8_t>(mappedUnit ^ kOfPages[mappedUnit >> 8 & 0x3F]);
    return code < kHighest ? code : kHighest;
}

}  // namespace SearchCode

/// `CUnicodeMappingTable::MapText` for raw text and offsets that may be null, to the last unit of
/// its contract.
using MapUnits = bool(CUnicodeMappingTable const& table,
                      char16_t const* source,
                      int sourceLength,
                      int& sourcePos,
                      char16_t* target,
                      int targetCapacity,
                      int& targetPos,
                      int* offsets);

/// The first position from `at` on at which a hit of a needle of one unit or more could begin, or
/// `textLength`. What it passes over are units that give nothing, and those where the comparison
/// would come to a difference. Where it stops there may be no hit, and even a unit that gives
/// nothing.
using FindMappedStart = int(CUnicodeMappingTable const& table,
                            char16_t const* text,
                            int textLength,
                            int at,
                            char16_t const* needle,
                            int needleLength);

MapUnits MapUnitsPlain;
FindMappedStart FindMappedStartPlain;
#if defined(__x86_64__)
MapUnits MapUnitsAVX512;
FindMappedStart FindMappedStartAVX512;
#endif
