// The charsets that the library converts by itself, the same on every system.
#pragma once

#include "text/CBasicCharsetConverter.h"

#include <atomic>
#include <string>

class CISO_8859_15Converter;
class CISO_8859_1Converter;
class CMacRomanConverter;
class CWindows1252Converter;

class CCharsetConverterImp : public CBasicCharsetConverter
{
public:
    explicit CCharsetConverterImp(CharsetEnum charset);

    void ToUnicode(unsigned long size,
                   char const* source,
                   unsigned long capacity,
                   unsigned long* written,
                   char16_t* target) const override;
    void ToUnicode(unsigned long size, char const* source, std::u16string* target) const override;
    void ToUnicode(std::string const& source, std::u16string* target) const override;
    void ToCharset(unsigned long size,
                   char const* source,
                   unsigned long capacity,
                   unsigned long* written,
                   char* target,
                   CharsetEnum charset) const override;
    void UnicodeToPatform(unsigned long size,
                          char16_t const* source,
                          unsigned long capacity,
                          unsigned long* consumed,
                          char* target,
                          unsigned long* written,
                          LangRunStruct* run) const override;
    void UnicodeToPatform(std::u16string const& source, std::string* target) const override;
    void FromUnicode(unsigned long size,
                     char16_t const* source,
                     unsigned long capacity,
                     unsigned long* written,
                     char* target) const override;
    void
    FromUnicode(unsigned long count, char16_t const* source, std::string* target) const override;
    void FromUnicode(std::u16string const& source, std::string* target) const override;
    void TruncateUnicodeText(unsigned long size,
                             char16_t const* text,
                             unsigned long limit,
                             unsigned long* result) const override;
    void TruncateUnicodeText(std::u16string const& text,
                             unsigned long limit,
                             unsigned long* result) const override;
    LangEnum
    GetLangFromUnicode(unsigned long size, char16_t const* text, LangEnum hint) const override;
    LangEnum GetLangFromUnicode(std::u16string const& text, LangEnum hint) const override;
    CharsetEnum GetPlatformCharset() const override;
    bool IsCharsetSupportedForDecoding(CharsetEnum charset) const override;
    bool IsCharsetSupportedForEncoding(CharsetEnum charset) const override;

    /// Does nothing.
    void SetPreferedLang(LangEnum lang);

protected:
    /// Throws a failure of the charset domain.
    [[noreturn]] static void ThrowConversionException(int category, int operation);

private:
    // Calls `use` with the converter of this single-byte charset; throws, as a failure of
    // `operation`, if it is none of them.
    template <class Use>
    void WithConverter(int operation, Use const& use) const;

    CharsetEnum mCharset;

    static std::atomic<CISO_8859_1Converter*> sISO_8859_1converter;
    static std::atomic<CISO_8859_15Converter*> sISO_8859_15converter;
    static std::atomic<CWindows1252Converter*> sWindows1252converter;
    static std::atomic<CMacRomanConverter*> sMacRomanconverter;
};
