// The loops of the single-byte charsets: text goes by blocks, ASCII without a look-up.
//
// Lengths are in characters, one byte and one unit each. Source and target don't overlap.
#pragma once

#include "text/tables/SingleByteTables.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

/// The loops, for blocks of a constant size, so that compilers make vector code of them.
namespace SingleByteText {

constexpr std::size_t kBlock = 16;

/// `Byte` is `signed char` or `unsigned char`, and tells what 0x80..0xFF are widened to.
template <class Byte>
void Widen(std::size_t length, char const* source, char16_t* target)
{
    std::size_t at = 0;
    for (; length - at >= kBlock; at += kBlock) {
        Byte bytes[kBlock];
        char16_t units[kBlock];
        std::memcpy(bytes, source + at, sizeof bytes);
        for (std::size_t i = 0; i < kBlock; ++i)
            units[i] = static_cast<char16_t>(bytes[i]);
        std::memcpy(target + at, units, sizeof units);
    }
    for (; at < length; ++at)
        target[at] = static_cast<char16_t>(static_cast<Byte>(source[at]));
}

/// Keeps the low byte of each unit.
inline void Narrow(std::size_t length, char16_t const* source, char* target)
{
    std::size_t at = 0;
    for (; length - at >= kBlock; at += kBlock) {
        char16_t units[kBlock];
        char bytes[kBlock];
        std::memcpy(units, source + at, sizeof units);
        for (std::size_t i = 0; i < kBlock; ++i)
            bytes[i] = static_cast<char>(units[i]);
        std::memcpy(target + at, bytes, sizeof bytes);
    }
    for (; at < length; ++at)
        target[at] = static_cast<char>(source[at]);
}

/// The bytes that a charset takes from ISO 8859-1 as they are.
enum PlainBytes
{
    kPlainASCII,   ///< below 0x80
    kPlainLetters  ///< and from 0xC0 on, which is most of what isn't ASCII in Western text
};

/// True if each byte of a block is plain; the same for units with the values of such bytes.
template <PlainBytes kPlain>
bool IsPlainBlock(char const* source)
{
    std::uint64_t words[kBlock / sizeof(std::uint64_t)];
    std::memcpy(words, source, sizeof words);
    std::uint64_t notPlain = 0;
    for (std::uint64_t const word : words)
        notPlain |= kPlain == kPlainLetters ? word & ~(word << 1) : word;
    return (notPlain & 0x8080808080808080) == 0;
}

template <PlainBytes kPlain>
bool IsPlainBlock(char16_t const* source)
{
    std::uint64_t words[kBlock * sizeof(char16_t) / sizeof(std::uint64_t)];
    std::memcpy(words, source, sizeof words);
    std::uint64_t notPlain = 0;
    std::uint64_t notLatin1 = 0;
    for (std::uint64_t const word : words) {
        notPlain |= kPlain == kPlainLetters ? word & ~(word << 1) : word;
        notLatin1 |= word;
    }
    return (notPlain & 0x0080008000800080) == 0 && (notLatin1 & 0xFF00FF00FF00FF00) == 0;
}

/// Four bytes from a register: where units are stored, compilers must take source bytes in memory
/// for changed.
inline void LookUpFour(char const* source, char16_t* target, UnitsOfBytes const& units)
{
    unsigned char bytes[4];
    std::memcpy(bytes, source, sizeof bytes);
    char16_t const found[] = {units[bytes[0]], units[bytes[1]], units[bytes[2]], units[bytes[3]]};
    std::memcpy(target, found, sizeof found);
}

/// The unit of each byte, bytes without one as `kNoUnit`.
template <PlainBytes kPlain>
void Decode(std::size_t length, char const* source, char16_t* target, UnitsOfBytes const& units)
{
    std::size_t at = 0;
    for (; length - at >= kBlock; at += kBlock) {
        if (IsPlainBlock<kPlain>(source + at)) {
            Widen<unsigned char>(kBlock, source + at, target + at);
            continue;
        }
        for (std::size_t i = at; i < at + kBlock; i += 4)
            LookUpFour(source + i, target + i, units);
    }
    for (; at < length; ++at)
        target[at] = units[static_cast<unsigned char>(source[at])];
}

inline char Encode(char16_t unit, CBytesOfUnits const& bytes)
{
    return unit < 0x80 ? static_cast<char>(unit) : bytes.Find(unit);
}

/// The byte of each unit, `kLossByte` for units without one.
template <PlainBytes kPlain>
void Encode(std::size_t length, char16_t const* source, char* target, CBytesOfUnits const& bytes)
{
    std::size_t at = 0;
    for (; length - at >= kBlock; at += kBlock) {
        if (IsPlainBlock<kPlain>(source + at)) {
            Narrow(kBlock, source + at, target + at);
            continue;
        }
        for (std::size_t i = at; i < at + kBlock; ++i)
            target[i] = Encode(source[i], bytes);
    }
    for (; at < length; ++at)
        target[at] = Encode(source[at], bytes);
}

/// Replaces `target` by what `convert(length, source, target)` makes, through a small buffer, so
/// that the text is written once and never filled with blanks first.
template <class Source, class Text, class Convert>
void ToText(std::size_t length, Source const* source, Text& target, Convert const& convert)
{
    typename Text::value_type chunk[2048];
    target.clear();
    target.reserve(length);
    while (length != 0) {
        std::size_t const count = std::min(length, std::size(chunk));
        convert(count, source, chunk);
        target.append(chunk, count);
        source += count;
        length -= count;
    }
}

}  // namespace SingleByteText
