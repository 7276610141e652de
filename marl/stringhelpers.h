// Small helpers for strings. They hold no state and may be called from any thread.
#pragma once

#include <string>

#include "marl/MarlExport.h"

/// Upper-cases UTF-16 text in place, unit by unit, by the simple upper-case mapping of
/// `UnicodeData.txt`, Unicode 13.0. Units whose upper case lies outside the BMP, surrogates and
/// units without one stay.
MARL_EXPORT void ConvToUpper(std::u16string& text);

/// Upper-cases the ASCII letters of `text` in place; bytes above 0x7F stay, whatever the locale.
MARL_EXPORT void ConvToUpper(std::string& text);

/// Appends one UTF-16 unit for each byte of `source`, the byte's value as it is (ISO-8859-1).
MARL_EXPORT void appendstring(std::u16string* target, std::string const& source);
