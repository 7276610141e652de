#include "loamctl/CByteTable.h"

#include <cstddef>
#include <string>

#include "loamctl/CCharset.h"

namespace {

constexpr unsigned kFirstUpper = 0x80;

// The bytes that have a meaning by themselves.
std::string BytesOf(CCharset const& charset)
{
    std::string bytes;
    std::u16string text;
    for (unsigned code = 0; code < 0x100; ++code) {
        char const byte = static_cast<char>(code);
        if (charset.Decode({&byte, 1}, text)) bytes += byte;
    }
    return bytes;
}

bool IsASCIIControl(unsigned unit)
{
    return unit < 0x20 || unit == 0x7F;
}

bool IsPlausible(unsigned char byte, char16_t unit)
{
    if (byte >= kFirstUpper) return unit >= kFirstUpper && unit != CByteTable::kNoUnit;
    return unit == byte || (IsASCIIControl(byte) && IsASCIIControl(unit));
}

}  // namespace

CByteTable::CByteTable(CCharset const& charset)
{
    mUnits.fill(kNoUnit);
    std::string const bytes = BytesOf(charset);
    std::u16string text;
    mWhole = charset.Decode(bytes, text) && text.size() == bytes.size();
    for (std::size_t i = 0; mWhole && i < bytes.size(); ++i) {
        auto const byte = static_cast<unsigned char>(bytes[i]);
        mUnits[byte] = text[i];
        mWhole = IsPlausible(byte, text[i]);
    }
    for (unsigned code = 0; code < kFirstUpper; ++code)
        mWhole = mWhole && mUnits[code] != kNoUnit;
}

bool CByteTable::Decode(std::string_view bytes, char16_t* units) const
{
    // Without a branch in the loop: a byte that has no unit is rare.
    bool isWhole = true;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        char16_t const unit = (*this)[bytes[i]];
        isWhole &= unit != kNoUnit;
        units[i] = unit;
    }
    return isWhole;
}
