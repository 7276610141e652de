#include "marl/stringhelpers.h"

#include "marl/tables/UpperCase.h"

void ConvToUpper(std::u16string& text)
{
    for (char16_t& unit : text) {
        if (unit < 0x80) {
            if (unit >= u'a' && unit <= u'z') unit = static_cast<char16_t>(unit - 0x20);
        } else {
            unit = SimpleUpperCase(unit);
        }
    }
}

void ConvToUpper(std::string& text)
{
    for (char& byte : text) {
        if (byte >= 'a' && byte <= 'z') byte = static_cast<char>(byte - 0x20);
    }
}

void appendstring(std::u16string* target, std::string const& source)
{
    target->reserve(target->size() + source.size());
    for (char const byte : source)
        target->push_back(static_cast<unsigned char>(byte));
}
