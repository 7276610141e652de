#include "loamctl/TextFilter.h"

#include <algorithm>
#include <bit>
#include <cstdint>

namespace {

constexpr std::size_t kLongestGram = 3;
constexpr std::size_t kTextOfAByte = 8;  // bytes of text for each of a filter

// The place of the bit for some bytes in a row, told apart by their number too.
std::uint32_t BitOf(std::string_view gram, std::size_t filterSize)
{
    auto sum = static_cast<std::uint32_t>(gram.size());
    for (char const c : gram)
        sum = sum << 8 | static_cast<unsigned char>(c);
    // Multiplicative hashing by the golden ratio (Knuth, volume 3, 6.4).
    return sum * 0x9E3779B1U >> (32 - std::bit_width(filterSize * 8 - 1));
}

}  // namespace

std::string FilterOf(std::string_view text)
{
    std::size_t const size =
        std::clamp(std::bit_ceil(text.size() / kTextOfAByte), kSmallestFilter, kLargestFilter);
    std::string filter(size, '\0');
    for (std::size_t at = 0; at < text.size(); ++at) {
        for (std::size_t count = 1; count <= std::min(kLongestGram, text.size() - at); ++count) {
            std::uint32_t const bit = BitOf(text.substr(at, count), size);
            filter[bit / 8] = static_cast<char>(filter[bit / 8] | 1 << bit % 8);
        }
    }
    return filter;
}

bool FilterAllows(std::string_view filter, std::string_view needle)
{
    std::size_t const count = std::min(kLongestGram, needle.size());
    for (std::size_t at = 0; at + count <= needle.size() && count > 0; ++at) {
        std::uint32_t const bit = BitOf(needle.substr(at, count), filter.size());
        if ((static_cast<unsigned char>(filter[bit / 8]) >> bit % 8 & 1) == 0) return false;
    }
    return true;
}
