// A small summary of a text that tells most of what is not in it, without the text.
//
// It is a Bloom filter with one function, over each byte of the text and each two and three bytes
// in a row.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Sizes of filters in bytes, all of them powers of two.
constexpr std::size_t kSmallestFilter = 64;
constexpr std::size_t kLargestFilter = 16384;
/// Of a longer text, the largest filter allows too much to be the last word.
constexpr std::size_t kLongestFilteredText = kLargestFilter * 16;

std::string FilterOf(std::string_view text);

/// False only if `needle` is not in the text that the filter was made of. `filter` has one of the
/// sizes above.
bool FilterAllows(std::string_view filter, std::string_view needle);
