// Simple upper case of the BMP by `UnicodeData.txt`, Unicode 13.0.0, in two stages. Constant data,
// any thread.
#pragma once

/// The page of steps for each high byte; page 0 holds only zeros.
extern unsigned char const kUpperCasePages[256];

/// For each low byte the distance to the upper case, modulo 65,536.
extern char16_t const kUpperCaseSteps[][256];

/// The simple upper-case mapping of a UTF-16 unit, or the unit itself where there is none or it
/// leaves the BMP.
inline char16_t SimpleUpperCase(char16_t unit)
{
    return static_cast<char16_t>(unit + kUpperCaseSteps[kUpperCasePages[unit >> 8]][unit & 0xFF]);
}
