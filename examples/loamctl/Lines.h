// Where the lines of a text are. A line ends before LF, CR LF or CR.
#pragma once

#include <string_view>

#include "loamctl/CBasicFinder.h"

inline bool IsLineEnd(char16_t unit)
{
    return unit == u'\n' || unit == u'\r';
}

/// The line that `unit` stands in, without its end. For a line end it is the line before.
inline Span LineAround(std::u16string_view text, std::size_t unit)
{
    Span line{unit, unit};
    while (line.mStart > 0 && !IsLineEnd(text[line.mStart - 1]))
        --line.mStart;
    while (line.mEnd < text.size() && !IsLineEnd(text[line.mEnd]))
        ++line.mEnd;
    return line;
}
