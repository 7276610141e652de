#include "net/platform/linux/ServiceNames.h"

#include <algorithm>

namespace {

constexpr std::size_t kLongestLabel = 63;

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

// The start of `text` of at most `size` bytes, without a torn character at its end.
std::string_view CutTo(std::string_view text, std::size_t size)
{
    if (text.size() <= size) return text;
    while (size > 0 && (static_cast<unsigned char>(text[size]) & 0xC0) == 0x80)
        --size;
    return text.substr(0, size);
}

// The digits in " (23)" at the end of `name`, if that is how it ends.
std::string_view NumberAtEnd(std::string_view name)
{
    constexpr std::string_view kBegin = " (";
    constexpr std::size_t kMostDigits = 9;
    if (!name.ends_with(')')) return {};
    name.remove_suffix(1);
    std::size_t const begin = name.rfind(kBegin);
    if (begin == std::string_view::npos) return {};
    std::string_view const digits = name.substr(begin + kBegin.size());
    bool const isNumber = !digits.empty() && digits.size() <= kMostDigits && digits[0] != '0' &&
                          std::all_of(digits.begin(), digits.end(), IsDigit);
    return isNumber ? digits : std::string_view();
}

}  // namespace

std::string FittingServiceName(std::string_view name)
{
    return std::string(CutTo(name, kLongestLabel));
}

std::string NextServiceName(std::string_view name)
{
    std::string_view const digits = NumberAtEnd(name);
    long const number = digits.empty() ? 1 : std::stol(std::string(digits));
    if (!digits.empty()) name.remove_suffix(digits.size() + 3);
    std::string const suffix = " (" + std::to_string(number + 1) + ")";
    return std::string(CutTo(name, kLongestLabel - suffix.size())) + suffix;
}

std::string FullServiceName(std::string_view name, std::string_view type, std::string_view domain)
{
    std::string full;
    for (char const c : name) {
        auto const byte = static_cast<unsigned char>(c);
        if (byte <= ' ' || byte == 0x7F) {
            full += '\\';
            full += static_cast<char>('0' + byte / 100);
            full += static_cast<char>('0' + byte / 10 % 10);
            full += static_cast<char>('0' + byte % 10);
        } else {
            if (c == '.' || c == '\\') full += '\\';
            full += c;
        }
    }
    return full + "." + WithDot(type) + WithDot(domain);
}

std::string WithDot(std::string_view domainName)
{
    return WithoutDot(domainName) + ".";
}

std::string WithoutDot(std::string_view domainName)
{
    if (domainName.ends_with('.')) domainName.remove_suffix(1);
    return std::string(domainName);
}
