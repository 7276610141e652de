// A charset in which each byte stands for one UTF-16 unit whatever stands beside it, as a table.
//
// The library's converter is asked for each byte once; after that a text costs one look-up a byte.
// The table holds for texts with a byte beyond ASCII: some converters make another control of a
// control then.
#pragma once

#include <array>
#include <string_view>

class CCharset;

class CByteTable
{
public:
    /// In the place of a unit for a byte that the charset lacks.
    static constexpr char16_t kNoUnit = 0xFFFF;

    explicit CByteTable(CCharset const& charset);

    /// Whether a table can tell the charset: ASCII stands for itself, but for controls, no other
    /// byte for ASCII, and none for several units.
    bool IsWhole() const { return mWhole; }

    char16_t operator[](char byte) const { return mUnits[static_cast<unsigned char>(byte)]; }

    /// Writes a unit for each byte. False if one has none, where what was written says nothing.
    bool Decode(std::string_view bytes, char16_t* units) const;

private:
    std::array<char16_t, 256> mUnits;
    bool mWhole;
};
