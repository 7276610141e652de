#include "text/CISO_8859_15Converter.h"

#include "text/SingleByteText.h"

void CISO_8859_15Converter::ToUnicode(unsigned long size,
                                      char const* source,
                                      char16_t* target) const
{
    SingleByteText::Decode<SingleByteText::kPlainLetters>(size, source, target,
                                                          cISO_8859_15ToUTF16);
}

void CISO_8859_15Converter::ToUnicode(unsigned long size,
                                      char const* source,
                                      std::u16string* target) const
{
    SingleByteText::ToText(size, source, *target,
                           [this](std::size_t count, char const* from, char16_t* to) {
                               CISO_8859_15Converter::ToUnicode(count, from, to);
                           });
}

void CISO_8859_15Converter::FromUnicode(unsigned long count,
                                        char16_t const* source,
                                        char* target) const
{
    SingleByteText::Encode<SingleByteText::kPlainLetters>(count, source, target,
                                                          cUTF16ToISO_8859_15);
}

void CISO_8859_15Converter::FromUnicode(unsigned long count,
                                        char16_t const* source,
                                        std::string* target) const
{
    SingleByteText::ToText(count, source, *target,
                           [this](std::size_t length, char16_t const* from, char* to) {
                               CISO_8859_15Converter::FromUnicode(length, from, to);
                           });
}

char CISO_8859_15Converter::UTF16ToISO_8859_15(char16_t unit) const
{
    return SingleByteText::Encode(unit, cUTF16ToISO_8859_15);
}
