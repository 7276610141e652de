// The charsets that are in no other library's data, as tables. All are ASCII below 0x80 but for the
// yen sign in one of them.
//
// A character has one byte, or a lead byte and a second one. It is one unit of UTF-16, or one of a
// list of sequences of units, most of them a character and a private one that tells its variant.
#pragma once

#include <cstddef>
#include <cstdint>

/// The second bytes of two that a row of characters has, from `kOldCharsetFirstTrail` to 0xFF.
constexpr std::size_t kOldCharsetFirstTrail = 0x40;
constexpr std::size_t kOldCharsetRow = 0x100 - kOldCharsetFirstTrail;

/// In place of a unit: no character, and the first of the list's sequences (which takes the units
/// of surrogates, that no character is).
constexpr char16_t kOldCharsetNone = 0xFFFF;
constexpr char16_t kOldCharsetFirstSequence = 0xD800;

struct OldCharsetSequence
{
    std::uint8_t mLength;
    char16_t mUnits[5];
};

struct OldCharsetTable
{
    char16_t const* mUnits;      // of each byte
    std::uint8_t const* mRowOf;  // of each byte its row's number plus 1; 0 for no lead byte
    char16_t const (*mRows)[kOldCharsetRow];
    OldCharsetSequence const* mSequences;
    std::size_t mSequenceCount;
};

extern OldCharsetTable const kISO_8859_16;
extern OldCharsetTable const kMacArabic;
extern OldCharsetTable const kMacChineseSimp;
extern OldCharsetTable const kMacChineseTrad;
extern OldCharsetTable const kMacCroatian;
extern OldCharsetTable const kMacFarsi;
extern OldCharsetTable const kMacHebrew;
extern OldCharsetTable const kMacIcelandic;
extern OldCharsetTable const kMacJapanese;
extern OldCharsetTable const kMacKorean;
extern OldCharsetTable const kMacRomanian;
