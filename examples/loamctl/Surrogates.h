// Pairs of surrogates, which are the characters beyond the basic plane.
#pragma once

#include <cstddef>
#include <string_view>

/// The index of the first surrogate without its partner, or the length.
std::size_t FindLoneSurrogate(std::u16string_view text);
