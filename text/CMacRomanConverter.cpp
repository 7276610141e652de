#include "text/CMacRomanConverter.h"

#include "text/SingleByteText.h"

void CMacRomanConverter::ToUnicode(unsigned long size, char const* source, char16_t* target) const
{
    SingleByteText::Decode<SingleByteText::kPlainASCII>(size, source, target, cMacRomanToUTF16);
}

void CMacRomanConverter::ToUnicode(unsigned long size,
                                   char const* source,
                                   std::u16string* target) const
{
    SingleByteText::ToText(size, source, *target,
                           [this](std::size_t count, char const* from, char16_t* to) {
                               CMacRomanConverter::ToUnicode(count, from, to);
                           });
}

void CMacRomanConverter::FromUnicode(unsigned long count,
                                     char16_t const* source,
                                     char* target) const
{
    SingleByteText::Encode<SingleByteText::kPlainASCII>(count, source, target, cUTF16ToMacRoman);
}

void CMacRomanConverter::FromUnicode(unsigned long count,
                                     char16_t const* source,
                                     std::string* target) const
{
    SingleByteText::ToText(count, source, *target,
                           [this](std::size_t length, char16_t const* from, char* to) {
                               CMacRomanConverter::FromUnicode(length, from, to);
                           });
}

char CMacRomanConverter::UTF16ToMacRoman(char16_t unit) const
{
    return SingleByteText::Encode(unit, cUTF16ToMacRoman);
}
