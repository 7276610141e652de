#include "text/platform/linux/BuiltInCharsets.h"

#include "text/SingleByteText.h"

#include <algorithm>

namespace {

constexpr std::size_t kFirstUpper = 0x80;

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
                             std::size_t* count) const
{
    *count = std::min(length, capacity);
    SingleByteText::Encode<SingleByteText::kPlainASCII>(*count, source, target, mBytes);
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
