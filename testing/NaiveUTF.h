// A second, slow statement of the rules of the UTF routines, for tests and fuzzers to compare with.
//
// One character at a time, from tables of ranges and bit fields, with nothing shared with the
// routines themselves.
#pragma once

#include "text/ConvertUTF.h"

#include <cstddef>
#include <vector>

/// What a routine answers and leaves behind.
template <class Unit>
struct Converted
{
    ConversionResult mResult = conversionOK;
    size_t mConsumed = 0;  // units of the source before its cursor
    std::vector<Unit> mWritten;

    bool operator==(Converted const&) const = default;
};

/// Each converts `source` into room for `capacity` units.
Converted<UTF16>
NaiveUTF8toUTF16(std::vector<UTF8> const& source, size_t capacity, ConversionFlags flags);
Converted<UTF32> NaiveUTF8toUTF32(std::vector<UTF8> const& source, size_t capacity);
Converted<UTF8>
NaiveUTF16toUTF8(std::vector<UTF16> const& source, size_t capacity, ConversionFlags flags);
Converted<UTF32>
NaiveUTF16toUTF32(std::vector<UTF16> const& source, size_t capacity, ConversionFlags flags);
Converted<UTF8>
NaiveUTF32toUTF8(std::vector<UTF32> const& source, size_t capacity, ConversionFlags flags);
Converted<UTF16>
NaiveUTF32toUTF16(std::vector<UTF32> const& source, size_t capacity, ConversionFlags flags);

bool NaiveIsLegalUTF8(std::vector<UTF8> const& source);
bool NaiveIsLegalUTF16(std::vector<UTF16> const& source);
unsigned long NaiveUTF16Length(std::vector<UTF8> const& source, ConversionFlags flags);
