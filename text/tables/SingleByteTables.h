// Charsets of one byte for a character, as tables in both directions.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// The UTF-16 unit of each byte.
typedef std::array<char16_t, 256> UnitsOfBytes;

/// No character's unit, for bytes that have none.
constexpr char16_t kNoUnit = 0xFFFF;

/// What is written for a character that the charset lacks.
constexpr char kLossByte = '?';

/// From units of 0x80 and above back to bytes of 0x80 and above: for each high byte the number of a
/// page, in which each low byte has its byte. Page 0 holds `kLossByte` throughout.
class CBytesOfUnits
{
public:
    /// Of two bytes with the same unit the lower one is taken.
    constexpr explicit CBytesOfUnits(UnitsOfBytes const& units)
        : mPageOf{}
        , mPages{}
    {
        for (auto& page : mPages)
            page.fill(kLossByte);
        std::uint8_t pageCount = 1;
        for (std::size_t byte = 256; byte-- > 0x80;) {
            char16_t const unit = units[byte];
            if (unit < 0x80 || unit == kNoUnit) continue;
            std::uint8_t& page = mPageOf[unit >> 8];
            if (page == 0) page = pageCount++;
            mPages[page][unit & 0xFF] = static_cast<char>(byte);
        }
    }

    char Find(char16_t unit) const { return mPages[mPageOf[unit >> 8]][unit & 0xFF]; }

private:
    // As many as the charset with the most needs. A further one doesn't compile.
    static constexpr std::size_t kPageCount = 12;

    std::array<std::uint8_t, 256> mPageOf;
    std::array<std::array<char, 256>, kPageCount> mPages;
};

// Each byte's own value, as in ISO 8859-1.
constexpr UnitsOfBytes MakeLatin1()
{
    UnitsOfBytes units{};
    for (std::size_t byte = 0; byte < units.size(); ++byte)
        units[byte] = static_cast<char16_t>(byte);
    return units;
}

// ISO/IEC 8859-15:1999: Latin-1 with eight characters replaced.
constexpr UnitsOfBytes MakeISO_8859_15()
{
    UnitsOfBytes units = MakeLatin1();
    // Kept on purpose: blanks instead of the control characters.
    for (std::size_t byte = 0x80; byte <= 0x9F; ++byte)
        units[byte] = u' ';
    units[0xA4] = 0x20AC;
    units[0xA6] = 0x0160;
    units[0xA8] = 0x0161;
    units[0xB4] = 0x017D;
    units[0xB8] = 0x017E;
    units[0xBC] = 0x0152;
    units[0xBD] = 0x0153;
    units[0xBE] = 0x0178;
    return units;
}

// Windows code page 1252, from 0x80 to 0x9F; the rest is Latin-1. Kept on purpose: the five bytes
// without a character are blanks.
constexpr char16_t kUpperWindows1252[] = {
    0x20AC, 0x0020, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x0020, 0x017D, 0x0020, 0x0020, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x0020, 0x017E, 0x0178,
};

constexpr UnitsOfBytes MakeWindows1252()
{
    UnitsOfBytes units = MakeLatin1();
    std::size_t byte = 0x80;
    for (char16_t const unit : kUpperWindows1252)
        units[byte++] = unit;
    return units;
}

// Mac OS Roman from 0x80 on. Kept on purpose: 0xDB is the currency sign of the edition before 1998,
// not the euro sign.
constexpr char16_t kUpperMacRoman[] = {
    0x00C4, 0x00C5, 0x00C7, 0x00C9, 0x00D1, 0x00D6, 0x00DC, 0x00E1, 0x00E0, 0x00E2, 0x00E4, 0x00E3,
    0x00E5, 0x00E7, 0x00E9, 0x00E8, 0x00EA, 0x00EB, 0x00ED, 0x00EC, 0x00EE, 0x00EF, 0x00F1, 0x00F3,
    0x00F2, 0x00F4, 0x00F6, 0x00F5, 0x00FA, 0x00F9, 0x00FB, 0x00FC, 0x2020, 0x00B0, 0x00A2, 0x00A3,
    0x00A7, 0x2022, 0x00B6, 0x00DF, 0x00AE, 0x00A9, 0x2122, 0x00B4, 0x00A8, 0x2260, 0x00C6, 0x00D8,
    0x221E, 0x00B1, 0x2264, 0x2265, 0x00A5, 0x00B5, 0x2202, 0x2211, 0x220F, 0x03C0, 0x222B, 0x00AA,
    0x00BA, 0x03A9, 0x00E6, 0x00F8, 0x00BF, 0x00A1, 0x00AC, 0x221A, 0x0192, 0x2248, 0x2206, 0x00AB,
    0x00BB, 0x2026, 0x00A0, 0x00C0, 0x00C3, 0x00D5, 0x0152, 0x0153, 0x2013, 0x2014, 0x201C, 0x201D,
    0x2018, 0x2019, 0x00F7, 0x25CA, 0x00FF, 0x0178, 0x2044, 0x00A4, 0x2039, 0x203A, 0xFB01, 0xFB02,
    0x2021, 0x00B7, 0x201A, 0x201E, 0x2030, 0x00C2, 0x00CA, 0x00C1, 0x00CB, 0x00C8, 0x00CD, 0x00CE,
    0x00CF, 0x00CC, 0x00D3, 0x00D4, 0xF8FF, 0x00D2, 0x00DA, 0x00DB, 0x00D9, 0x0131, 0x02C6, 0x02DC,
    0x00AF, 0x02D8, 0x02D9, 0x02DA, 0x00B8, 0x02DD, 0x02DB, 0x02C7,
};

constexpr UnitsOfBytes MakeMacRoman()
{
    UnitsOfBytes units = MakeLatin1();
    std::size_t byte = 0x80;
    for (char16_t const unit : kUpperMacRoman)
        units[byte++] = unit;
    return units;
}

/// The charsets that are converted by number. They are the published ones but for the three
/// oddities that hosts rely on, which the source file tells.
extern UnitsOfBytes const cISO_8859_15ToUTF16;
extern UnitsOfBytes const cWindows1252ToUTF16;
extern UnitsOfBytes const cMacRomanToUTF16;

extern CBytesOfUnits const cUTF16ToISO_8859_15;
extern CBytesOfUnits const cUTF16ToWindows1252;
extern CBytesOfUnits const cUTF16ToMacRoman;
