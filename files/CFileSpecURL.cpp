// Percent encoding of URLs (RFC 3986, section 2.1), by our own set of bytes that stay.
#include "files/CFileSpec.h"
#include "files/FileSpecConstants.h"

#include <array>
#include <string>

constexpr char CFileSpecURLReservedAndUnreservedCharacters[] =
    "!*'();:@&=+$,/?%#[]ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.~";

namespace {

constexpr std::array<bool, 256> kStays = [] {
    std::array<bool, 256> stays{};
    for (char const* byte = CFileSpecURLReservedAndUnreservedCharacters; *byte; ++byte) {
        stays[static_cast<unsigned char>(*byte)] = true;
    }
    return stays;
}();

/// The value of a hexadecimal digit, or -1.
int DigitValue(char digit)
{
    if (digit >= '0' && digit <= '9') return digit - '0';
    if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
    return -1;
}

}  // namespace

void CFileSpec::PercentEncodeURL(std::string& url)
{
    constexpr char kDigits[] = "0123456789abcdef";
    std::string encoded;
    encoded.reserve(url.size());
    for (char const byte : url) {
        auto const value = static_cast<unsigned char>(byte);
        if (kStays[value]) {
            encoded += byte;
        } else {
            encoded += {'%', kDigits[value >> 4], kDigits[value & 15]};
        }
    }
    url.swap(encoded);
}

void CFileSpec::PercentDecodeURL(std::string& url)
{
    std::string::size_type end = 0;
    for (std::string::size_type i = 0; i < url.size(); ++i) {
        url[end] = url[i];
        if (url[i] == '%' && url.size() - i > 2) {
            int const high = DigitValue(url[i + 1]);
            int const low = DigitValue(url[i + 2]);
            int const value = high * 16 + low;
            if (high >= 0 && low >= 0 && !kStays[static_cast<unsigned char>(value)]) {
                url[end] = static_cast<char>(value);
                i += 2;
            }
        }
        ++end;
    }
    url.resize(end);
}
