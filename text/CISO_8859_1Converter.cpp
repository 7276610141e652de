#include "text/CISO_8859_1Converter.h"

#include "text/SingleByteText.h"

void CISO_8859_1Converter::ToUnicode(unsigned long size, char const* source, char16_t* target) const
{
    // Kept on purpose: hosts see the difference between the two forms.
    SingleByteText::Widen<signed char>(size, source, target);
}

void CISO_8859_1Converter::ToUnicode(unsigned long size,
                                     char const* source,
                                     std::u16string* target) const
{
    SingleByteText::ToText(size, source, *target, SingleByteText::Widen<unsigned char>);
}

void CISO_8859_1Converter::FromUnicode(unsigned long count,
                                       char16_t const* source,
                                       char* target) const
{
    SingleByteText::Narrow(count, source, target);
}

void CISO_8859_1Converter::FromUnicode(unsigned long count,
                                       char16_t const* source,
                                       std::string* target) const
{
    SingleByteText::ToText(count, source, *target, SingleByteText::Narrow);
}
