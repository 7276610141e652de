// Where the decoders and encoders of the Linux side put their text.
#pragma once

#include "text/platform/CBasicCharsetPlatform.h"

#include <cstddef>
#include <cstring>

/// Takes the units that fit into a buffer, and counts all.
class CUnitSink
{
public:
    CUnitSink(char16_t* target, std::size_t capacity)
        : mTarget(target)
        , mCapacity(capacity)
    {
    }

    void Put(char16_t unit)
    {
        if (mLength < mCapacity) mTarget[mLength] = unit;
        ++mLength;
    }

    /// The place of the next `count` units, to be filled by the caller; null if they don't fit.
    char16_t* Take(std::size_t count)
    {
        char16_t* const place =
            mLength <= mCapacity && count <= mCapacity - mLength ? mTarget + mLength : nullptr;
        mLength += count;
        return place;
    }

    std::size_t GetLength() const { return mLength; }

    DecodeOutcome GetOutcome() const { return mLength <= mCapacity ? kDecoded : kDecodeNoRoom; }

private:
    char16_t* mTarget;  // not owned
    std::size_t mCapacity;
    std::size_t mLength = 0;
};

/// Takes whole characters as long as they fit into a buffer.
class CByteSink
{
public:
    CByteSink(char* target, std::size_t capacity)
        : mTarget(target)
        , mCapacity(capacity)
    {
    }

    /// False, and nothing taken, if they don't fit.
    bool Put(char const* bytes, std::size_t count)
    {
        if (count > mCapacity - mLength) return false;
        if (count == 0) return true;
        std::memcpy(mTarget + mLength, bytes, count);
        mLength += count;
        return true;
    }

    bool Put(char byte) { return Put(&byte, 1); }

    std::size_t GetLength() const { return mLength; }

    std::size_t GetRoom() const { return mCapacity - mLength; }

private:
    char* mTarget;  // not owned
    std::size_t mCapacity;
    std::size_t mLength = 0;
};

constexpr bool IsHighSurrogate(char16_t unit)
{
    return (unit & 0xFC00) == 0xD800;
}

constexpr bool IsLowSurrogate(char16_t unit)
{
    return (unit & 0xFC00) == 0xDC00;
}

/// The units of the character at the head of a text that isn't empty: 2 for a pair, otherwise 1.
constexpr std::size_t CharacterLength(char16_t const* text, std::size_t length)
{
    return length > 1 && IsHighSurrogate(text[0]) && IsLowSurrogate(text[1]) ? 2 : 1;
}

/// The same for the character at its end.
constexpr std::size_t LastCharacterLength(char16_t const* text, std::size_t length)
{
    return length > 1 && IsHighSurrogate(text[length - 2]) && IsLowSurrogate(text[length - 1]) ? 2
                                                                                               : 1;
}
