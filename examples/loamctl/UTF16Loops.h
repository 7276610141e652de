// Loops over UTF-16 as a whole: pairs of surrogates, which are the characters beyond the basic
// plane, null units, and the order of bytes.
#pragma once

#include <cstddef>
#include <string_view>

/// The index of the first surrogate without its partner, or the length.
std::size_t FindLoneSurrogate(std::u16string_view text);

/// The index of the first null unit, or the length.
std::size_t FindNull(std::u16string_view text);

void SwapBytes(char16_t* units, std::size_t count);
