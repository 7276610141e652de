#include "text/CCharsetConverterCoreFoundation.h"

#include "foundation/FailureDomains.h"
#include "text/CCharsetConverter.h"

#include <algorithm>
#include <climits>
#include <iterator>

namespace {

typedef bool (*ByteTest)(char const* data, long long size);

// What tests the bytes for each of the desktop's encodings, from its number on; null for no test.
constexpr unsigned int kFirstISOLatin = 513;
constexpr ByteTest kISOLatinTests[] = {
    &CCharsetConverter::CanConvertFromISO_8859_1,
    &CCharsetConverter::CanConvertFromISO_8859_2,
    &CCharsetConverter::CanConvertFromISO_8859_3,
    &CCharsetConverter::CanConvertFromISO_8859_4,
    &CCharsetConverter::CanConvertFromISO_8859_5,
    &CCharsetConverter::CanConvertFromISO_8859_6,
    &CCharsetConverter::CanConvertFromISO_8859_7,
    &CCharsetConverter::CanConvertFromISO_8859_8,
    &CCharsetConverter::CanConvertFromISO_8859_9,
    &CCharsetConverter::CanConvertFromISO_8859_10,
    &CCharsetConverter::CanConvertFromISO_8859_11,
    nullptr,  // there is no part 12
    &CCharsetConverter::CanConvertFromISO_8859_13,
    &CCharsetConverter::CanConvertFromISO_8859_14,
    &CCharsetConverter::CanConvertFromISO_8859_15,
    &CCharsetConverter::CanConvertFromISO_8859_16,
};

// Code page 1252 comes first.
constexpr unsigned int kFirstWindows = 1280;
constexpr ByteTest kWindowsTests[] = {
    &CCharsetConverter::CanConvertFromCP_1252, &CCharsetConverter::CanConvertFromCP_1250,
    &CCharsetConverter::CanConvertFromCP_1251, &CCharsetConverter::CanConvertFromCP_1253,
    &CCharsetConverter::CanConvertFromCP_1254, &CCharsetConverter::CanConvertFromCP_1255,
    &CCharsetConverter::CanConvertFromCP_1256, &CCharsetConverter::CanConvertFromCP_1257,
    &CCharsetConverter::CanConvertFromCP_1258,
};
constexpr unsigned int kWindowsJohab = 1296;

ByteTest TestOf(unsigned int encoding)
{
    if (encoding == kWindowsJohab) return &CCharsetConverter::CanConvertFromCP_1361;
    if (encoding - kFirstISOLatin < std::size(kISOLatinTests))
        return kISOLatinTests[encoding - kFirstISOLatin];
    if (encoding - kFirstWindows < std::size(kWindowsTests))
        return kWindowsTests[encoding - kFirstWindows];
    return nullptr;
}

// More than any encoding needs: for a character, with what switches to it and back, and for a text,
// in which these add up.
constexpr unsigned long kMostBytesOfCharacter = 64;
constexpr unsigned long kMostBytesForUnit = 16;

// False if no room would be enough for a text, since its first character can't be encoded.
bool CanEncodeFirst(unsigned int encoding, char16_t const* text, unsigned long length)
{
    char bytes[kMostBytesOfCharacter];
    std::size_t converted = 0;
    std::size_t used = 0;
    CharsetPlatform().Encode(encoding, text, std::min(length, 2UL), bytes, sizeof bytes, &converted,
                             &used);
    return converted != 0;
}

}  // namespace

CCharsetConverterCoreFoundation::CCharsetConverterCoreFoundation(CharsetEnum charset)
    : CCharsetConverterImp(charset)
{
}

void CCharsetConverterCoreFoundation::SetCharset(std::string const& name)
{
    mEncoding = CharsetPlatform().GetEncoding(name);
}

void CCharsetConverterCoreFoundation::ToUnicode(unsigned long size,
                                                char const* source,
                                                unsigned long capacity,
                                                unsigned long* written,
                                                char16_t* target) const
{
    if (!HasEncoding())
        return CCharsetConverterImp::ToUnicode(size, source, capacity, written, target);

    ByteTest const test = TestOf(mEncoding);
    if (test && !test(source, static_cast<long long>(size)))
        ThrowConversionException(kCharsetNotSupported, kCharsetToUnicode);
    std::size_t length = 0;
    switch (CharsetPlatform().Decode(mEncoding, source, size, target, capacity / 2, &length)) {
    case kDecoded:
        *written = length * 2;
        return;
    case kDecodeNoRoom:
        ThrowConversionException(kCharsetBufferTooSmall, kCharsetToUnicode);
    default:
        ThrowConversionException(kCharsetNotSupported, kCharsetToUnicode);
    }
}

void CCharsetConverterCoreFoundation::ToUnicode(unsigned long size,
                                                char const* source,
                                                std::u16string* target) const
{
    if (!HasEncoding()) return CCharsetConverterImp::ToUnicode(size, source, target);

    // Kept on purpose: the bytes are not tested here. Nearly every text has no more units than
    // bytes; one that has is converted twice.
    std::size_t length = size;
    DecodeOutcome outcome = kDecodeNoRoom;
    while (outcome == kDecodeNoRoom) {
        target->resize(length);
        outcome = CharsetPlatform().Decode(mEncoding, source, size, target->data(), target->size(),
                                           &length);
    }
    if (outcome == kDecodeRefused) {
        target->clear();
        ThrowConversionException(kCharsetNotSupported, kCharsetToUnicode);
    }
    target->resize(length);
}

void CCharsetConverterCoreFoundation::ToUnicode(std::string const& source,
                                                std::u16string* target) const
{
    CCharsetConverterCoreFoundation::ToUnicode(source.size(), source.data(), target);
}

void CCharsetConverterCoreFoundation::FromUnicode(unsigned long size,
                                                  char16_t const* source,
                                                  unsigned long capacity,
                                                  unsigned long* written,
                                                  char* target) const
{
    if (!HasEncoding())
        return CCharsetConverterImp::FromUnicode(size, source, capacity, written, target);

    std::size_t converted = 0;
    std::size_t used = 0;
    if (!CharsetPlatform().Encode(mEncoding, source, size / 2, target, capacity, &converted, &used))
        ThrowConversionException(kCharsetNotSupported, kCharsetFromUnicode);
    *written = used;
    if (converted < size / 2) ThrowConversionException(kCharsetBufferTooSmall, kCharsetFromUnicode);
}

void CCharsetConverterCoreFoundation::FromUnicode(unsigned long count,
                                                  char16_t const* source,
                                                  std::string* target) const
{
    if (!HasEncoding()) return CCharsetConverterImp::FromUnicode(count, source, target);

    target->clear();
    unsigned long const mostRoom = std::max(kMostBytesOfCharacter, count * kMostBytesForUnit);
    unsigned long done = 0;
    unsigned long room = count;
    while (done < count) {
        std::size_t const start = target->size();
        target->resize(start + room);
        std::size_t converted = 0;
        std::size_t used = 0;
        bool const isConverted =
            CharsetPlatform().Encode(mEncoding, source + done, count - done, target->data() + start,
                                     room, &converted, &used);
        target->resize(start + used);
        if (!isConverted) ThrowConversionException(kCharsetNotSupported, kCharsetFromUnicode);
        done += converted;
        if (converted != 0) {
            room = count;
        } else if (room < kMostBytesOfCharacter ||
                   (room < mostRoom && CanEncodeFirst(mEncoding, source + done, count - done))) {
            room *= 2;
        } else {
            return;  // at a unit that can't be encoded at all
        }
    }
}

void CCharsetConverterCoreFoundation::FromUnicode(std::u16string const& source,
                                                  std::string* target) const
{
    CCharsetConverterCoreFoundation::FromUnicode(source.size(), source.data(), target);
}
