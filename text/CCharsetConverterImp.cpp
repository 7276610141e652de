#include "text/CCharsetConverterImp.h"

#include "foundation/FailureDomains.h"
#include "foundation/FirstUse.h"
#include "marl/HierarchicalException.h"
#include "text/CISO_8859_15Converter.h"
#include "text/CISO_8859_1Converter.h"
#include "text/CMacRomanConverter.h"
#include "text/CUTFConverter.h"
#include "text/CWindows1252Converter.h"

#include <algorithm>
#include <climits>
#include <cstring>

std::atomic<CISO_8859_1Converter*> CCharsetConverterImp::sISO_8859_1converter{nullptr};
std::atomic<CISO_8859_15Converter*> CCharsetConverterImp::sISO_8859_15converter{nullptr};
std::atomic<CWindows1252Converter*> CCharsetConverterImp::sWindows1252converter{nullptr};
std::atomic<CMacRomanConverter*> CCharsetConverterImp::sMacRomanconverter{nullptr};

namespace {

template <class Converter>
Converter const& Made(std::atomic<Converter*>& slot)
{
    return *GetOrMake(slot, [] { return std::make_unique<Converter>(); });
}

// A text that is longer than the conversion can take is handled like a malformed one.

void DecodeUTF8(unsigned long size, char const* source, std::u16string& target)
{
    if (size > INT_MAX) {
        target.clear();
        return;
    }
    CUTFConverter::ConvertUTF8toUTF16(source, static_cast<int>(size), target,
                                      CUTFConverter::kLenientMode);
}

void EncodeUTF8(unsigned long count, char16_t const* source, std::string& target)
{
    if (count > INT_MAX) {
        target.clear();
        return;
    }
    CUTFConverter::ConvertUTF16toUTF8(source, static_cast<int>(count), target,
                                      CUTFConverter::kLenientMode);
}

}  // namespace

CCharsetConverterImp::CCharsetConverterImp(CharsetEnum charset)
    : mCharset(charset)
{
}

void CCharsetConverterImp::ThrowConversionException(int category, int operation)
{
    throw HierarchicalException(kCharsetDomain, category, operation, 0, nullptr);
}

template <class Use>
void CCharsetConverterImp::WithConverter(int operation, Use const& use) const
{
    switch (mCharset) {
    case CCharsetSelector::kUS_ASCII:
    case CCharsetSelector::kISO_8859_1:
        return use(Made(sISO_8859_1converter));
    case CCharsetSelector::kCP1252:
        return use(Made(sWindows1252converter));
    case CCharsetSelector::kMac_roman:
        return use(Made(sMacRomanconverter));
    case CCharsetSelector::kISO_8859_15:
        return use(Made(sISO_8859_15converter));
    default:
        ThrowConversionException(kCharsetNotSupported, operation);
    }
}

void CCharsetConverterImp::ToUnicode(unsigned long size,
                                     char const* source,
                                     unsigned long capacity,
                                     unsigned long* written,
                                     char16_t* target) const
{
    if (mCharset == CCharsetSelector::kUTF_8) {
        std::u16string text;
        DecodeUTF8(size, source, text);
        // Kept on purpose: what doesn't fit is cut off without a word.
        unsigned long const fitting = std::min<unsigned long>(text.size(), capacity / 2);
        *written = fitting * 2;
        if (fitting != 0) std::memcpy(target, text.data(), *written);
        return;
    }
    WithConverter(kCharsetToUnicode, [&](auto const& converter) {
        if (size > capacity / 2)
            ThrowConversionException(kCharsetBufferTooSmall, kCharsetToUnicode);
        converter.ToUnicode(size, source, target);
        *written = size * 2;
    });
}

void CCharsetConverterImp::ToUnicode(unsigned long size,
                                     char const* source,
                                     std::u16string* target) const
{
    if (mCharset == CCharsetSelector::kUTF_8) return DecodeUTF8(size, source, *target);
    WithConverter(kCharsetToUnicode,
                  [&](auto const& converter) { converter.ToUnicode(size, source, target); });
}

void CCharsetConverterImp::ToUnicode(std::string const& source, std::u16string* target) const
{
    CCharsetConverterImp::ToUnicode(source.size(), source.data(), target);
}

void CCharsetConverterImp::ToCharset(
    unsigned long, char const*, unsigned long, unsigned long* written, char*, CharsetEnum) const
{
    *written = 0;
}

void CCharsetConverterImp::UnicodeToPatform(unsigned long size,
                                            char16_t const* source,
                                            unsigned long,
                                            unsigned long* consumed,
                                            char* target,
                                            unsigned long*,
                                            LangRunStruct* run) const
{
    if (run) *run = LangRunStruct();
    Made(sMacRomanconverter).FromUnicode(size / 2, source, target);
    *consumed = size / 2;
}

void CCharsetConverterImp::UnicodeToPatform(std::u16string const& source, std::string* target) const
{
    Made(sMacRomanconverter).FromUnicode(source.size(), source.data(), target);
}

void CCharsetConverterImp::FromUnicode(unsigned long size,
                                       char16_t const* source,
                                       unsigned long capacity,
                                       unsigned long* written,
                                       char* target) const
{
    if (mCharset == CCharsetSelector::kUTF_8) {
        std::string text;
        EncodeUTF8(size / 2, source, text);
        // Kept on purpose: what doesn't fit is cut off, in the middle of a character too.
        *written = std::min<unsigned long>(text.size(), capacity);
        if (*written != 0) std::memcpy(target, text.data(), *written);
        return;
    }
    // Kept on purpose: the capacity of single-byte text is the caller's business.
    WithConverter(kCharsetFromUnicode, [&](auto const& converter) {
        converter.FromUnicode(size / 2, source, target);
        *written = size / 2;
    });
}

void CCharsetConverterImp::FromUnicode(unsigned long count,
                                       char16_t const* source,
                                       std::string* target) const
{
    if (mCharset == CCharsetSelector::kUTF_8) return EncodeUTF8(count, source, *target);
    WithConverter(kCharsetFromUnicode,
                  [&](auto const& converter) { converter.FromUnicode(count, source, target); });
}

void CCharsetConverterImp::FromUnicode(std::u16string const& source, std::string* target) const
{
    CCharsetConverterImp::FromUnicode(source.size(), source.data(), target);
}

void CCharsetConverterImp::TruncateUnicodeText(unsigned long,
                                               char16_t const*,
                                               unsigned long limit,
                                               unsigned long* result) const
{
    *result = limit;
}

void CCharsetConverterImp::TruncateUnicodeText(std::u16string const&,
                                               unsigned long limit,
                                               unsigned long* result) const
{
    *result = limit;
}

CCharsetConverterImp::LangEnum
CCharsetConverterImp::GetLangFromUnicode(unsigned long size, char16_t const* text, LangEnum) const
{
    bool const isASCII =
        std::all_of(text, text + size / 2, [](char16_t unit) { return unit < 0x80; });
    return isASCII ? CCharsetSelector::kLangNone : CCharsetSelector::kLangWestern;
}

CCharsetConverterImp::LangEnum CCharsetConverterImp::GetLangFromUnicode(std::u16string const& text,
                                                                        LangEnum hint) const
{
    return CCharsetConverterImp::GetLangFromUnicode(text.size() * 2, text.data(), hint);
}

CCharsetConverterImp::CharsetEnum CCharsetConverterImp::GetPlatformCharset() const
{
    return CCharsetSelector::kMac_roman;
}

bool CCharsetConverterImp::IsCharsetSupportedForDecoding(CharsetEnum charset) const
{
    switch (charset) {
    case CCharsetSelector::kUTF_8:
    case CCharsetSelector::kUS_ASCII:
    case CCharsetSelector::kISO_8859_1:
    case CCharsetSelector::kCP1252:
    case CCharsetSelector::kMac_roman:
    case CCharsetSelector::kISO_8859_15:
        return true;
    default:
        return false;
    }
}

bool CCharsetConverterImp::IsCharsetSupportedForEncoding(CharsetEnum charset) const
{
    return CCharsetConverterImp::IsCharsetSupportedForDecoding(charset);
}

void CCharsetConverterImp::SetPreferedLang(LangEnum) {}
