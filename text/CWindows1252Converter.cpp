#include "text/CWindows1252Converter.h"

#include "text/SingleByteText.h"

void CWindows1252Converter::ToUnicode(unsigned long size,
                                      char const* source,
                                      char16_t* target) const
{
    SingleByteText::Decode<SingleByteText::kPlainLetters>(size, source, target,
                                                          cWindows1252ToUTF16);
}

void CWindows1252Converter::ToUnicode(unsigned long size,
                                      char const* source,
                                      std::u16string* target) const
{
    SingleByteText::ToText(size, source, *target,
                           [this](std::size_t count, char const* from, char16_t* to) {
                               CWindows1252Converter::ToUnicode(count, from, to);
                           });
}

void CWindows1252Converter::FromUnicode(unsigned long count,
                                        char16_t const* source,
                                        char* target) const
{
    SingleByteText::Encode<SingleByteText::kPlainLetters>(count, source, target,
                                                          cUTF16ToWindows1252);
}

void CWindows1252Converter::FromUnicode(unsigned long count,
                                        char16_t const* source,
                                        std::string* target) const
{
    SingleByteText::ToText(count, source, *target,
                           [this](std::size_t length, char16_t const* from, char* to) {
                               CWindows1252Converter::FromUnicode(length, from, to);
                           });
}

char CWindows1252Converter::UTF16ToWindows1252(char16_t unit) const
{
    return SingleByteText::Encode(unit, cUTF16ToWindows1252);
}
