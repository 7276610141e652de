#include "text/CUTFConverter.h"

#include "text/ConvertUTF.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <iterator>

namespace {

// Small enough for any thread's stack and the processor's nearest cache.
constexpr size_t kChunkBytes = 4096;

ConversionFlags FlagsOf(CUTFConverter::ConversionMode mode)
{
    return mode == CUTFConverter::kStrictMode ? strictConversion : lenientReplaceConversion;
}

UTF8 const* Units(char const* text)
{
    return reinterpret_cast<UTF8 const*>(text);
}

UTF8* Units(char* text)
{
    return reinterpret_cast<UTF8*>(text);
}

UTF8* Units(unsigned char* text)
{
    return text;
}

UTF16 const* Units(char16_t const* text)
{
    return reinterpret_cast<UTF16 const*>(text);
}

UTF16* Units(char16_t* text)
{
    return reinterpret_cast<UTF16*>(text);
}

size_t LengthOf(int length)
{
    return length > 0 ? static_cast<size_t>(length) : 0;
}

// The two directions under one name, so that what owns the buffers is written once.
ConversionResult Convert(UTF8 const** source,
                         UTF8 const* sourceEnd,
                         UTF16** target,
                         UTF16* targetEnd,
                         ConversionFlags flags)
{
    return ConvertUTF8toUTF16(source, sourceEnd, target, targetEnd, flags);
}

ConversionResult Convert(UTF16 const** source,
                         UTF16 const* sourceEnd,
                         UTF8** target,
                         UTF8* targetEnd,
                         ConversionFlags flags)
{
    return ConvertUTF16toUTF8(source, sourceEnd, target, targetEnd, flags);
}

// Empties a text unless it is finished, whatever the way out.
template <class Text>
class StEmptyUnlessDone
{
public:
    explicit StEmptyUnlessDone(Text& text)
        : mText(text)
    {
    }

    StEmptyUnlessDone(StEmptyUnlessDone const&) = delete;
    StEmptyUnlessDone& operator=(StEmptyUnlessDone const&) = delete;

    ~StEmptyUnlessDone()
    {
        if (!mIsDone) mText.clear();
    }

    void SetDone() { mIsDone = true; }

private:
    Text& mText;
    bool mIsDone = false;
};

// Converts by way of a small buffer, so that the text is written once and never filled with blanks
// first. As long as there is one unit for each of the source, which is always enough for UTF-16,
// storage is had only once.
template <class Source, class Text>
bool ConvertToText(Source const* source, size_t length, Text& target, ConversionFlags flags)
{
    constexpr size_t kMostBytes = 3;  // for a unit
    typename Text::value_type chunk[kChunkBytes / sizeof(typename Text::value_type)];
    auto* const chunkStart = Units(chunk);

    target.clear();
    StEmptyUnlessDone guard(target);
    Source const* const sourceEnd = source + length;
    ConversionResult result = targetExhausted;
    while (result == targetExhausted) {
        auto* chunkEnd = chunkStart;
        result = Convert(&source, sourceEnd, &chunkEnd, chunkStart + std::size(chunk), flags);
        auto const written = static_cast<size_t>(chunkEnd - chunkStart);
        if (result == targetExhausted && target.capacity() < target.size() + written) {
            auto const rest = static_cast<size_t>(sourceEnd - source);
            target.reserve(target.empty() ? std::max(length, written)
                                          : target.size() + written + rest * kMostBytes);
        }
        if (result == conversionOK || result == targetExhausted) target.append(chunk, written);
    }
    if (result == conversionOK) guard.SetDone();
    return result == conversionOK;
}

template <class Unit>
bool Allocate(Unit** buffer, int* capacity)
{
    *buffer = static_cast<Unit*>(std::malloc(static_cast<size_t>(*capacity) * sizeof(Unit)));
    if (*buffer == nullptr) *capacity = 0;
    return *buffer != nullptr;
}

template <class Source, class Unit>
int ConvertToBlock(
    Source const* source, size_t length, Unit** buffer, int* capacity, ConversionFlags flags)
{
    constexpr int kLeastCapacity = 128;
    if (*buffer == nullptr || *capacity <= 0) {
        // Kept on purpose: without a capacity the pointer may be anything, and nothing is freed.
        *capacity = std::max(*capacity, kLeastCapacity);
        if (!Allocate(buffer, capacity)) return -1;
    }
    for (;;) {
        Source const* cursor = source;
        auto* const start = Units(*buffer);
        auto* end = start;
        ConversionResult const result =
            Convert(&cursor, source + length, &end, start + *capacity, flags);
        if (result == conversionOK) return static_cast<int>(end - start);
        if (result != targetExhausted || *capacity == INT_MAX) return -1;
        std::free(*buffer);
        *capacity = *capacity > INT_MAX / 2 ? INT_MAX : *capacity * 2;
        if (!Allocate(buffer, capacity)) return -1;
    }
}

}  // namespace

bool CUTFConverter::ConvertUTF8toUTF16(std::string const& source,
                                       std::u16string& target,
                                       ConversionMode mode)
{
    if (source.size() > INT_MAX) {
        target.clear();
        return false;
    }
    return ConvertUTF8toUTF16(source.data(), static_cast<int>(source.size()), target, mode);
}

bool CUTFConverter::ConvertUTF8toUTF16(char const* source,
                                       int length,
                                       std::u16string& target,
                                       ConversionMode mode)
{
    return ConvertToText(Units(source), LengthOf(length), target, FlagsOf(mode));
}

bool CUTFConverter::ConvertUTF16toUTF8(std::u16string const& source,
                                       std::string& target,
                                       ConversionMode mode)
{
    if (source.size() > INT_MAX) {
        target.clear();
        return false;
    }
    return ConvertUTF16toUTF8(source.data(), static_cast<int>(source.size()), target, mode);
}

bool CUTFConverter::ConvertUTF16toUTF8(char16_t const* source,
                                       int length,
                                       std::string& target,
                                       ConversionMode mode)
{
    return ConvertToText(Units(source), LengthOf(length), target, FlagsOf(mode));
}

int CUTFConverter::ConvertUTF8toUTF16(
    unsigned char const* source, int length, char16_t** buffer, int* capacity, ConversionMode mode)
{
    return ConvertToBlock(source, LengthOf(length), buffer, capacity, FlagsOf(mode));
}

int CUTFConverter::ConvertUTF16toUTF8(
    char16_t const* source, int length, unsigned char** buffer, int* capacity, ConversionMode mode)
{
    return ConvertToBlock(Units(source), LengthOf(length), buffer, capacity, FlagsOf(mode));
}
