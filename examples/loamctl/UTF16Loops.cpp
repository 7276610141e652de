#include "loamctl/UTF16Loops.h"

#include <algorithm>

namespace {

// So many units are looked at before anything is decided, which compilers make vectors of.
constexpr std::size_t kBlock = 32;

bool HasSurrogate(char16_t const* block)
{
    unsigned char found = 0;
    for (std::size_t i = 0; i < kBlock; ++i)
        found |= (block[i] & 0xF800) == 0xD800;
    return found != 0;
}

bool HasNull(char16_t const* block)
{
    unsigned char found = 0;
    for (std::size_t i = 0; i < kBlock; ++i)
        found |= block[i] == 0;
    return found != 0;
}

}  // namespace

std::size_t FindLoneSurrogate(std::u16string_view text)
{
    std::size_t i = 0;
    while (i < text.size()) {
        if (text.size() - i >= kBlock && !HasSurrogate(text.data() + i)) {
            i += kBlock;
            continue;
        }
        for (std::size_t const end = std::min(i + kBlock, text.size()); i < end; ++i) {
            if ((text[i] & 0xF800) != 0xD800) continue;
            bool const paired =
                text[i] < 0xDC00 && i + 1 < text.size() && (text[i + 1] & 0xFC00) == 0xDC00;
            if (!paired) return i;
            ++i;
        }
    }
    return text.size();
}

std::size_t FindNull(std::u16string_view text)
{
    std::size_t i = 0;
    while (text.size() - i >= kBlock && !HasNull(text.data() + i))
        i += kBlock;
    while (i < text.size() && text[i] != 0)
        ++i;
    return i;
}

void SwapBytes(char16_t* units, std::size_t count)
{
    auto const swap = [](char16_t unit) { return static_cast<char16_t>(unit << 8 | unit >> 8); };
    std::size_t i = 0;
    for (; count - i >= kBlock; i += kBlock) {
        for (std::size_t k = 0; k < kBlock; ++k)
            units[i + k] = swap(units[i + k]);
    }
    for (; i < count; ++i)
        units[i] = swap(units[i]);
}
