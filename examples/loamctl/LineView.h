// The part of a line that is shown where the whole would be too long.
#pragma once

#include <string_view>

#include "loamctl/CBasicFinder.h"

/// The part of `line` around `hit` that has at most `limit` UTF-16 units, or all of it where it is
/// short enough or `limit` is 0. Cuts between characters, not in front of a mark.
Span ViewOfLine(std::u16string_view text, Span line, Span hit, std::size_t limit);
