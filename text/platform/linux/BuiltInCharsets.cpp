#include "text/platform/linux/BuiltInCharsets.h"

#include "text/SingleByteText.h"

#include <algorithm>
#include <cstring>

#include <unicode/unorm2.h>

namespace {

constexpr std::size_t kFirstUpper = 0x80;

// How much is encoded before it is looked at for marks.
constexpr std::size_t kRun = 64;

// Whether a unit is a combining mark of those that letters are composed with. No charset here has
// one.
bool IsMark(char16_t unit)
{
    return unit >= 0x300 && unit < 0x370;
}

// A letter and a mark in one unit; 0 if there is none.
char16_t Compose(char16_t letter, char16_t mark)
{
    UErrorCode error = U_ZERO_ERROR;
    UNormalizer2 const* const composer = unorm2_getNFCInstance(&error);
    if (U_FAILURE(error)) return 0;
    UChar32 const composed = unorm2_composePair(composer, letter, mark);
    return composed > 0 && composed <= 0xFFFF ? static_cast<char16_t>(composed) : 0;
}

constexpr UnitsOfBytes MakeASCII()
{
    UnitsOfBytes units = MakeLatin1();
    std::fill(units.begin() + kFirstUpper, units.end(), kNoUnit);
    return units;
}

// Latin-1 where Mac OS Roman has the character too. What stands in the other places of the charset,
// which is Mac OS Roman in Latin-1's order, isn't published: they are refused.
constexpr UnitsOfBytes MakeMacLatin1()
{
    UnitsOfBytes const macRoman = MakeMacRoman();
    UnitsOfBytes units = MakeLatin1();
    for (std::size_t byte = kFirstUpper; byte < units.size(); ++byte) {
        if (std::find(macRoman.begin(), macRoman.end(), units[byte]) == macRoman.end())
            units[byte] = kNoUnit;
    }
    return units;
}

constexpr UnitsOfBytes MakeNewMacRoman()
{
    UnitsOfBytes units = MakeMacRoman();
    units[0xDB] = 0x20AC;
    return units;
}

constexpr UnitsOfBytes MakeStrictWindows1252()
{
    UnitsOfBytes units = MakeWindows1252();
    std::replace(units.begin() + kFirstUpper, units.end(), u' ', kNoUnit);
    return units;
}

constinit CBuiltInCharset const kNewMacRoman{MakeNewMacRoman(), MakeNewMacRoman()};
constinit CBuiltInCharset const kLatin1{MakeLatin1(), MakeLatin1()};
constinit CBuiltInCharset const kWindows1252{MakeStrictWindows1252(), MakeStrictWindows1252()};
constinit CBuiltInCharset const kASCII{MakeLatin1(), MakeASCII()};
constinit CBuiltInCharset const kMacLatin1{MakeMacLatin1(), MakeMacLatin1()};

}  // namespace

DecodeOutcome CBuiltInCharset::Decode(char const* source,
                                      std::size_t size,
                                      char16_t* target,
                                      std::size_t capacity,
                                      std::size_t* length) const
{
    *length = size;
    bool const isRefused = std::any_of(source, source + size, [this](char byte) {
        return mUnits[static_cast<unsigned char>(byte)] == kNoUnit;
    });
    if (isRefused) return kDecodeRefused;
    if (size > capacity) return kDecodeNoRoom;
    SingleByteText::Decode<SingleByteText::kPlainASCII>(size, source, target, mUnits);
    return kDecoded;
}

void CBuiltInCharset::Encode(char16_t const* source,
                             std::size_t length,
                             char* target,
                             std::size_t capacity,
                             std::size_t* count,
                             std::size_t* written) const
{
    std::size_t done = 0;
    std::size_t used = 0;
    char16_t last = 0;  // what the byte before stands for
    while (done < length) {
        if (used != 0 && IsMark(source[done])) {
            char16_t const composed = Compose(last, source[done]);
            char const byte = SingleByteText::Encode(composed, mBytes);
            if (composed != 0 && byte != kLossByte) {
                target[used - 1] = byte;
                last = composed;
                ++done;
                continue;
            }
        }
        if (used == capacity) break;
        std::size_t run = std::min({length - done, capacity - used, kRun});
        SingleByteText::Encode<SingleByteText::kPlainASCII>(run, source + done, target + used,
                                                            mBytes);
        // It ends in front of its next mark. Behind one that has no place the search goes on.
        if (std::memchr(target + used, kLossByte, run)) {
            auto const* const start = source + done;
            run = static_cast<std::size_t>(std::find_if(start + 1, start + run, IsMark) - start);
        }
        done += run;
        used += run;
        last = source[done - 1];
    }
    *count = done;
    *written = used;
}

CBuiltInCharset const* FindBuiltInCharset(unsigned int encoding)
{
    switch (encoding) {
    case 0x0:
        return &kNewMacRoman;
    case 0x201:
        return &kLatin1;
    case 0x500:
        return &kWindows1252;
    case 0x600:
        return &kASCII;
    case 0xA04:
        return &kMacLatin1;
    default:
        return nullptr;
    }
}
