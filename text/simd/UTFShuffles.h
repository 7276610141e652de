// Which bytes of a vector of 16 are kept, in order, where its characters have fewer bytes or units
// than places: each row is an order for the processor's byte shuffle. Made by the compiler, 12 KB.
#pragma once

#include <array>
#include <cstdint>

using ShuffleRow = std::array<std::uint8_t, 16>;

/// By eight bits: what each says of its lane.
using ShuffleTable = std::array<ShuffleRow, 256>;

/// An index that shuffles to zero.
constexpr std::uint8_t kNoByte = 0x80;

/// `keeps(row, byte)` tells whether a row keeps a byte.
template <class Keeps>
constexpr ShuffleTable MakeShuffles(Keeps keeps)
{
    ShuffleTable table{};
    for (unsigned int row = 0; row < table.size(); ++row) {
        table[row].fill(kNoByte);
        unsigned int count = 0;
        for (unsigned int byte = 0; byte < 16; ++byte) {
            if (keeps(row, byte)) table[row][count++] = static_cast<std::uint8_t>(byte);
        }
    }
    return table;
}

/// Eight units, those kept whose bit is set.
alignas(64) inline constexpr ShuffleTable kUnitShuffles =
    MakeShuffles([](unsigned int row, unsigned int byte) { return (row >> byte / 2 & 1) != 0; });

/// Eight lanes of a character's two bytes; without its bit it has the upper one alone.
alignas(64) inline constexpr ShuffleTable kShortShuffles = MakeShuffles([](unsigned int row,
                                                                           unsigned int byte) {
    return byte % 2 == 1 || (row >> byte / 2 & 1) != 0;
});

/// Four lanes of a character's three bytes, the fourth unused. The last one is always kept, the
/// middle one with the lane's bit of 0 to 3, the first with that of 4 to 7.
alignas(64) inline constexpr ShuffleTable kLongShuffles = MakeShuffles([](unsigned int row,
                                                                          unsigned int byte) {
    unsigned int const lane = byte / 4;
    switch (byte % 4) {
    case 0:
        return (row >> (lane + 4) & 1) != 0;
    case 1:
        return (row >> lane & 1) != 0;
    default:
        return byte % 4 == 2;
    }
});
