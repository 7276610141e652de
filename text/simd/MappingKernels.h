// The loops of `CUnicodeMappingTable`: mapping raw text, and finding where a mapped needle can
// begin in it.
//
// They read nothing outside of the text, write nothing but what they tell, and may be called by any
// thread. Positions are indices of units.
#pragma once

class CUnicodeMappingTable;

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
