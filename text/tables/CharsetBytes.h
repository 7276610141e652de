// Tables by byte value for the charset tests: which bytes a charset can hold, and what a byte says
// as half of a UTF-16 unit.
//
// The sets follow the holes of the published charsets, but each stands as hosts know it: some bytes
// without a character are allowed, and marked.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>

/// By byte value, whether it may occur.
using AllowedBytes = std::array<bool, 256>;

struct ByteRange
{
    int mFirst;
    int mLast;

    constexpr ByteRange(int only)
        : mFirst(only)
        , mLast(only)
    {
    }

    constexpr ByteRange(int first, int last)
        : mFirst(first)
        , mLast(last)
    {
    }
};

constexpr AllowedBytes AllBut(std::initializer_list<ByteRange> refused)
{
    AllowedBytes allowed{};
    allowed.fill(true);
    for (ByteRange const& range : refused) {
        for (int byte = range.mFirst; byte <= range.mLast; ++byte)
            allowed[static_cast<std::size_t>(byte)] = false;
    }
    return allowed;
}

// Kept on purpose: A5, AE and BE have no character and are allowed.
inline constinit AllowedBytes const sISO_8859_3AllowedBytes =
    AllBut({{0x80, 0x9F}, 0xC3, 0xD0, 0xE3, 0xF0});
inline constinit AllowedBytes const sISO_8859_6AllowedBytes = AllBut({{0x80, 0x9F},
                                                                      {0xA1, 0xA3},
                                                                      {0xA5, 0xAB},
                                                                      {0xAE, 0xBA},
                                                                      {0xBC, 0xBE},
                                                                      0xC0,
                                                                      {0xDB, 0xDF},
                                                                      {0xF3, 0xFF}});
inline constinit AllowedBytes const sISO_8859_7AllowedBytes =
    AllBut({{0x80, 0x9F}, 0xAE, 0xD2, 0xFF});
// Kept on purpose: A1 has no character and is allowed.
inline constinit AllowedBytes const sISO_8859_8AllowedBytes =
    AllBut({{0x80, 0x9F}, {0xBF, 0xDE}, 0xFB, 0xFC, 0xFF});
inline constinit AllowedBytes const sISO_8859_11AllowedBytes =
    AllBut({{0x80, 0x9F}, {0xDB, 0xDE}, {0xFC, 0xFF}});
inline constinit AllowedBytes const sCP_1250AllowedBytes = AllBut({0x81, 0x83, 0x88, 0x90, 0x98});
inline constinit AllowedBytes const sCP_1252AllowedBytes = AllBut({0x81, 0x8D, 0x8F, 0x90, 0x9D});
inline constinit AllowedBytes const sCP_1253AllowedBytes =
    AllBut({0x81, 0x88, 0x8A, {0x8C, 0x90}, 0x98, 0x9A, {0x9C, 0x9F}, 0xAA, 0xD2, 0xFF});
inline constinit AllowedBytes const sCP_1254AllowedBytes = AllBut({0x81, {0x8D, 0x90}, 0x9D, 0x9E});
// Kept on purpose: CA has no character and is allowed.
inline constinit AllowedBytes const sCP_1255AllowedBytes =
    AllBut({0x81, 0x8A, {0x8C, 0x90}, 0x9A, {0x9C, 0x9F}, {0xD9, 0xDF}, 0xFB, 0xFC, 0xFF});
inline constinit AllowedBytes const sCP_1257AllowedBytes =
    AllBut({0x81, 0x83, 0x88, 0x8A, 0x8C, 0x90, 0x98, 0x9A, 0x9C, 0x9F, 0xA1, 0xA5});
inline constinit AllowedBytes const sCP_1258AllowedBytes =
    AllBut({0x81, 0x8A, {0x8D, 0x90}, 0x9A, 0x9D, 0x9E});

/// What U+00bb in a text says about the byte order, by the byte bb.
enum class UTF16Weight : std::uint8_t
{
    kUncommon = 0,
    kSwappedIsImplausible = 1,  ///< common, and U+bb00 is found in no text
    kSwappedIsRare = 2,         ///< common, and U+bb00 is hardly ever found
    kNoVote = 3,
};

constexpr std::array<UTF16Weight, 256> WeighBytes()
{
    struct Row
    {
        UTF16Weight mWeight;
        std::initializer_list<ByteRange> mBytes;
    };

    std::array<UTF16Weight, 256> weights{};
    weights.fill(UTF16Weight::kNoVote);
    for (Row const& row :
         {Row{UTF16Weight::kUncommon, {{0x00, 0x08}, 0x0B, 0x0C, {0x0E, 0x1F}}},
          Row{UTF16Weight::kSwappedIsImplausible, {0x0A, 0x31, 0xAB, {0xE0, 0xF8}, 0xFF}},
          Row{UTF16Weight::kSwappedIsRare,
              {0x09, 0x0D, {0x20, 0x2F}, 0x32, {0xA0, 0xA6}, {0xA8, 0xAA}}}}) {
        for (ByteRange const& range : row.mBytes) {
            for (int byte = range.mFirst; byte <= range.mLast; ++byte)
                weights[static_cast<std::size_t>(byte)] = row.mWeight;
        }
    }
    return weights;
}

inline constinit std::array<UTF16Weight, 256> const sUTF16WithHighByteNullIsCommonButSwappedIs =
    WeighBytes();
