#include "text/platform/linux/UnicodeForms.h"

#include "text/ConvertUTF.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string_view>

namespace {

// Small enough for any thread's stack and the processor's nearest cache.
constexpr std::size_t kChunk = 2048;

UTF8 const* Units(char const* text)
{
    return reinterpret_cast<UTF8 const*>(text);
}

UTF16* Units(char16_t* text)
{
    return reinterpret_cast<UTF16*>(text);
}

UTF16 const* Units(char16_t const* text)
{
    return reinterpret_cast<UTF16 const*>(text);
}

void PutAll(char16_t const* units, std::size_t count, CUnitSink& sink)
{
    char16_t* const place = sink.Take(count);
    if (place && count != 0) std::memcpy(place, units, count * sizeof *units);
}

bool DecodeUTF8(std::string_view source, CUnitSink& sink)
{
    constexpr std::string_view kMark = "\xEF\xBB\xBF";
    constexpr UTF8 kLoneByte = 0xA9;
    if (source.substr(0, kMark.size()) == kMark) source.remove_prefix(kMark.size());

    UTF8 const* cursor = Units(source.data());
    UTF8 const* const end = cursor + source.size();
    char16_t chunk[kChunk];
    for (;;) {
        UTF16* chunkEnd = Units(chunk);
        ConversionResult const result = ConvertUTF8toUTF16(
            &cursor, end, &chunkEnd, Units(chunk) + std::size(chunk), strictConversion);
        PutAll(chunk, static_cast<std::size_t>(chunkEnd - Units(chunk)), sink);
        if (result == conversionOK) return true;
        if (result == targetExhausted) continue;
        if (result != sourceIllegal || *cursor != kLoneByte) return false;
        ++cursor;
        sink.Put(0xFFFD);
    }
}

std::size_t EncodeUTF8(char16_t const* source, std::size_t length, CByteSink& sink)
{
    // A high surrogate at the very end would come out as bytes of its own.
    std::size_t const whole =
        length != 0 && IsHighSurrogate(source[length - 1]) ? length - 1 : length;
    UTF16 const* cursor = Units(source);
    UTF16 const* const end = cursor + whole;
    char chunk[kChunk];
    ConversionResult result = targetExhausted;
    while (result == targetExhausted) {
        std::size_t const room = std::min(std::size(chunk), sink.GetRoom());
        UTF16 const* const start = cursor;
        auto* chunkEnd = reinterpret_cast<UTF8*>(chunk);
        UTF8* const limit = chunkEnd + room;
        result = ConvertUTF16toUTF8(&cursor, end, &chunkEnd, limit, strictConversion);
        auto const used = static_cast<std::size_t>(chunkEnd - reinterpret_cast<UTF8*>(chunk));
        sink.Put(chunk, used);
        if (cursor == start) break;
    }
    return static_cast<std::size_t>(cursor - Units(source));
}

template <class Unit>
Unit Load(char const* from, bool isBigEndian)
{
    Unit unit = 0;
    std::memcpy(&unit, from, sizeof unit);
    if (isBigEndian == (std::endian::native == std::endian::big)) return unit;
    if constexpr (sizeof unit == 2)
        return __builtin_bswap16(unit);
    else
        return __builtin_bswap32(unit);
}

template <class Unit>
bool Store(Unit unit, bool isBigEndian, CByteSink& sink)
{
    char bytes[sizeof unit];
    for (std::size_t i = 0; i < sizeof unit; ++i) {
        std::size_t const shift = 8 * (isBigEndian ? sizeof unit - 1 - i : i);
        bytes[i] = static_cast<char>(unit >> shift & 0xFF);
    }
    return sink.Put(bytes, sizeof bytes);
}

// Takes the byte-order mark off, if there is one, and answers whether the text is big-endian.
template <class Unit>
bool TakeMark(std::string_view& source)
{
    constexpr Unit kMark = 0xFEFF;
    bool isBigEndian = true;
    if (source.size() < sizeof kMark) return isBigEndian;
    isBigEndian = Load<Unit>(source.data(), false) != kMark;
    if (!isBigEndian || Load<Unit>(source.data(), true) == kMark)
        source.remove_prefix(sizeof kMark);
    return isBigEndian;
}

void DecodeUTF16(std::string_view source, bool isBigEndian, CUnitSink& sink)
{
    std::size_t const count = source.size() / sizeof(std::uint16_t);
    char16_t* const place = sink.Take(count);
    if (!place || count == 0) return;
    std::memcpy(place, source.data(), count * sizeof *place);
    if (isBigEndian == (std::endian::native == std::endian::big)) return;
    std::transform(place, place + count, place,
                   [](char16_t unit) { return static_cast<char16_t>(__builtin_bswap16(unit)); });
}

bool DecodeUTF32(std::string_view source, bool isBigEndian, CUnitSink& sink)
{
    constexpr std::size_t kSize = sizeof(std::uint32_t);
    for (; source.size() >= kSize; source.remove_prefix(kSize)) {
        std::uint32_t const value = Load<std::uint32_t>(source.data(), isBigEndian);
        if (value > 0x10FFFF) return false;
        if (value > 0xFFFF) sink.Put(static_cast<char16_t>(0xD7C0 + (value >> 10)));
        sink.Put(static_cast<char16_t>(value > 0xFFFF ? 0xDC00 | (value & 0x3FF) : value));
    }
    return true;
}

std::size_t
EncodeUTF16(char16_t const* source, std::size_t length, bool isBigEndian, CByteSink& sink)
{
    std::size_t at = 0;
    while (at < length) {
        std::size_t const count = CharacterLength(source + at, length - at);
        if (sink.GetRoom() < count * sizeof *source) break;
        for (std::size_t const end = at + count; at < end; ++at)
            Store(static_cast<std::uint16_t>(source[at]), isBigEndian, sink);
    }
    return at;
}

std::size_t
EncodeUTF32(char16_t const* source, std::size_t length, bool isBigEndian, CByteSink& sink)
{
    std::size_t at = 0;
    while (at < length) {
        std::size_t const count = CharacterLength(source + at, length - at);
        std::uint32_t value = source[at];
        if (count == 2) value = ((value - 0xD7C0) << 10) + (source[at + 1] & 0x3FFU);
        if (!Store(value, isBigEndian, sink)) break;
        at += count;
    }
    return at;
}

}  // namespace

bool DecodeUnicode(UnicodeForm form, char const* source, std::size_t size, CUnitSink& sink)
{
    std::string_view text(source, size);
    if (form == kFormUTF8) return DecodeUTF8(text, sink);

    bool const isUTF16 = form <= kFormUTF16LE;
    std::size_t const unitSize = isUTF16 ? sizeof(std::uint16_t) : sizeof(std::uint32_t);
    if (size != 0 && size < unitSize) return false;
    bool isBigEndian = form == kFormUTF16BE || form == kFormUTF32BE;
    if (form == kFormUTF16) isBigEndian = TakeMark<std::uint16_t>(text);
    if (form == kFormUTF32) isBigEndian = TakeMark<std::uint32_t>(text);
    if (!isUTF16) return DecodeUTF32(text, isBigEndian, sink);
    DecodeUTF16(text, isBigEndian, sink);
    return true;
}

std::size_t
EncodeUnicode(UnicodeForm form, char16_t const* source, std::size_t length, CByteSink& sink)
{
    constexpr bool kIsNativeBig = std::endian::native == std::endian::big;
    switch (form) {
    case kFormUTF8:
        return EncodeUTF8(source, length, sink);
    case kFormUTF16:
        return EncodeUTF16(source, length, kIsNativeBig, sink);
    case kFormUTF16BE:
        return EncodeUTF16(source, length, true, sink);
    case kFormUTF16LE:
        return EncodeUTF16(source, length, false, sink);
    case kFormUTF32:
        return EncodeUTF32(source, length, kIsNativeBig, sink);
    case kFormUTF32BE:
        return EncodeUTF32(source, length, true, sink);
    case kFormUTF32LE:
        return EncodeUTF32(source, length, false, sink);
    }
    return 0;
}
