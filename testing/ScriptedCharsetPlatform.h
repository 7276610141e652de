// A charset platform that knows one name and converts by a rule that tests can follow in their
// heads.
#pragma once

#include "text/platform/CBasicCharsetPlatform.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

/// Each byte is one unit and the other way round, but for the special bytes and units below.
class ScriptedCharsetPlatform final : public CBasicCharsetPlatform
{
public:
    /// A byte that is refused, one that becomes two units, one that becomes three.
    static constexpr char kRefused = '!';
    static constexpr char kDouble = '2';
    static constexpr char kTriple = '3';
    /// A unit that refuses the whole text, one that takes four bytes, one that can't be encoded.
    static constexpr char16_t kRefusedUnit = 0xFFFF;
    static constexpr char16_t kLongUnit = 0x4444;
    static constexpr char16_t kStuckUnit = 0xD800;

    unsigned int GetEncoding(std::string const& name) const override
    {
        mNames.push_back(name);
        return name == mName ? mEncoding : kInvalidEncoding;
    }

    DecodeOutcome Decode(unsigned int encoding,
                         char const* source,
                         std::size_t size,
                         char16_t* target,
                         std::size_t capacity,
                         std::size_t* length) const override
    {
        mDecodings.push_back(encoding);
        std::u16string text;
        for (std::size_t i = 0; i < size; ++i) {
            if (source[i] == kRefused) return kDecodeRefused;
            std::size_t const count = source[i] == kDouble ? 2 : source[i] == kTriple ? 3 : 1;
            text.append(count, static_cast<unsigned char>(source[i]));
        }
        *length = text.size();
        if (text.size() > capacity) return kDecodeNoRoom;
        std::copy(text.begin(), text.end(), target);
        return kDecoded;
    }

    bool Encode(unsigned int,
                char16_t const* source,
                std::size_t length,
                char* target,
                std::size_t capacity,
                std::size_t* count,
                std::size_t* written) const override
    {
        mRooms.push_back(capacity);
        *count = *written = 0;
        if (std::find(source, source + length, kRefusedUnit) != source + length) return false;
        if (capacity < length * mLeastRoom) return true;
        for (; *count < length; ++*count) {
            char16_t const unit = source[*count];
            std::size_t const size = unit == kLongUnit ? 4 : 1;
            if (unit == kStuckUnit || capacity - *written < size) break;
            std::fill_n(target + *written, size, static_cast<char>(unit));
            *written += size;
        }
        return true;
    }

    std::string mName = "known";
    unsigned int mEncoding = 4711;
    /// Encodes nothing into less room than this for each unit.
    std::size_t mLeastRoom = 0;

    /// What was asked for, in this order.
    mutable std::vector<std::string> mNames;
    mutable std::vector<unsigned int> mDecodings;
    mutable std::vector<std::size_t> mRooms;
};
