// The loops that look at text and write none: searches for units of a set, and the signs of UTF-16.
//
// They read nothing outside of what they are given, but for two bytes that `WeighPairs` names.
#pragma once

#include "text/simd/UTF16Signs.h"
#include "text/simd/UnitSet.h"

/// The first or last unit that is a member of `set`, or that isn't, or null where there is none. At
/// least `kLeastUnits` from `begin` to `end`: for fewer a search is over before a set is made.
using FindUnit = char16_t const*(CUnitSet& set,
                                 char16_t const* begin,
                                 char16_t const* end,
                                 bool isMember);
inline constexpr int kLeastUnits = 64;

/// Which ones of 256 bytes are in `set`: the n-th one is told by bit n of `bits`.
using ClassifyBytes = void(ByteBits const& set, unsigned char const* bytes, ByteBits& bits);

/// Adds to `evidence` what pairs of bytes say, each by itself and beside the one before it; so two
/// bytes in front of `pairs` are read too. An odd byte at the end is not.
using WeighPairs = void(unsigned char const* pairs,
                        unsigned char const* end,
                        UTF16Evidence& evidence);

FindUnit FindFirstUnitPlain;
FindUnit FindLastUnitPlain;
ClassifyBytes ClassifyPlain;
WeighPairs WeighPairsPlain;
#if defined(__x86_64__)
FindUnit FindFirstUnitSSE42;
FindUnit FindLastUnitSSE42;
ClassifyBytes ClassifySSE42;
WeighPairs WeighPairsSSE42;
FindUnit FindFirstUnitAVX2;
FindUnit FindLastUnitAVX2;
ClassifyBytes ClassifyAVX2;
WeighPairs WeighPairsAVX2;
FindUnit FindFirstUnitAVX512;
FindUnit FindLastUnitAVX512;
ClassifyBytes ClassifyAVX512;
WeighPairs WeighPairsAVX512;
#elif defined(__aarch64__)
FindUnit FindFirstUnitNEON;
FindUnit FindLastUnitNEON;
ClassifyBytes ClassifyNEON;
WeighPairs WeighPairsNEON;
#endif
