// Where a text that is damaged here and there can be decoded, by a decoder that takes all or
// nothing.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

/// False if the bytes are no text of the charset.
using Decoding = std::function<bool(std::string_view bytes, std::u16string& text)>;

/// No charset has longer characters; of ISO-2022, no longer escape sequences.
constexpr std::size_t kLongestCharacter = 4;

/// The number of the first units that are good, where all that end before a bad one are so, but for
/// `slack` units that may stand within a character.
template <class Test>
std::size_t CountGood(std::size_t size, std::size_t slack, Test const& isGood)
{
    auto const lastGood = [&](std::size_t end) {
        for (std::size_t back = 0; back < slack && back <= end; ++back) {
            if (isGood(end - back)) return end - back;
        }
        return std::string::npos;
    };
    std::size_t good = 0;
    std::size_t bad = size + 1;
    while (bad - good > 1) {
        std::size_t const middle = good + (bad - good) / 2;
        (lastGood(middle) != std::string::npos ? good : bad) = middle;
    }
    std::size_t const last = lastGood(good);
    return last == std::string::npos ? 0 : last;
}

/// What the meaning of a byte hangs on.
enum class ByteMemory
{
    kCharacter,  ///< the bytes of its character
    kEscapes,    ///< also on escape sequences anywhere before it, as in ISO-2022
    kWholeText,  ///< also on how the bits of many bytes before it fell, as in UTF-7
};

/// The whole text, with U+FFFD for each unit of `unitSize` bytes that can't be decoded; behind one
/// the decoder begins anew.
///
/// The bytes that are given to the decoder are a few dozen times those of the text at most, however
/// many are bad, and more by the logarithm of its length for one that is bad behind a long good
/// text. With `kWholeText`, each bad one costs as much as the text.
std::u16string DecodeAroundBadBytes(std::string_view bytes,
                                    std::size_t unitSize,
                                    ByteMemory memory,
                                    Decoding const& decode);
