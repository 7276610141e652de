// A search for units that a `CUnicodeMappingTable` maps.
#pragma once

class CUnicodeMappingTable;

/// The first unit that has a mapping, or `end`. At least `kLeastUnits` from `begin` on: it is for
/// what is left of a long text.
char16_t const*
FindMappedUnit(CUnicodeMappingTable const& table, char16_t const* begin, char16_t const* end);
