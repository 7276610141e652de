#include "loamctl/DisplayText.h"

#include <algorithm>

#include <fmt/format.h>

#include "text/CUTFConverter.h"

namespace {

// The code point of a sequence of up to three bytes of well-formed UTF-8; longer ones hold nothing
// that has to be escaped.
unsigned CodePointAt(std::string_view utf8, std::size_t& size)
{
    auto const byte = [&](std::size_t i) { return static_cast<unsigned char>(utf8[i]); };
    unsigned const lead = byte(0);
    size = lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (size > utf8.size()) size = 1;
    if (size == 2) return (lead & 0x1Fu) << 6 | (byte(1) & 0x3Fu);
    if (size == 3) return (lead & 0x0Fu) << 12 | (byte(1) & 0x3Fu) << 6 | (byte(2) & 0x3Fu);
    return lead;
}

bool TurnsDirection(unsigned c)
{
    return (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

// Bytes of ASCII that are shown as they are in a name too.
bool IsPlain(char c)
{
    return c >= 0x20 && c < 0x7F;
}

std::string Escape(std::string_view utf8, bool name)
{
    std::string result;
    result.reserve(utf8.size());
    for (std::size_t at = 0, size = 0; at < utf8.size(); at += size) {
        auto const* const start = utf8.data() + at;
        auto const* const plainEnd = std::find_if_not(start, utf8.data() + utf8.size(), IsPlain);
        if (plainEnd != start) {
            size = static_cast<std::size_t>(plainEnd - start);
            result.append(start, size);
            continue;
        }
        std::string_view const rest = utf8.substr(at);
        unsigned const c = CodePointAt(rest, size);
        if (c == '\t' && !name) {
            result += '\t';
        } else if (c == '\t') {
            result += "\\t";
        } else if (c == '\n') {
            result += "\\n";
        } else if (c == '\r') {
            result += "\\r";
        } else if (c < 0x20 || c == 0x7F) {
            result += fmt::format("\\x{:02x}", c);
        } else if ((size > 1 && c < 0xA0) || (name && TurnsDirection(c))) {
            result += fmt::format("\\u{:04x}", c);
        } else {
            result += rest.substr(0, size);
        }
    }
    return result;
}

}  // namespace

std::string SafeName(std::string_view utf8)
{
    return Escape(utf8, true);
}

std::string SafeText(std::string_view utf8)
{
    return Escape(utf8, false);
}

std::string ToUTF8(std::u16string_view text)
{
    std::string result;
    CUTFConverter::ConvertUTF16toUTF8(text.data(), static_cast<int>(text.size()), result,
                                      CUTFConverter::kLenientMode);
    return result;
}

std::string Grouped(long long number)
{
    std::string digits = fmt::format("{}", number);
    for (auto at = static_cast<std::ptrdiff_t>(digits.size()) - 3; at > 0; at -= 3) {
        digits.insert(static_cast<std::size_t>(at), 1, ',');
    }
    return digits;
}

std::string Counted(long long number, std::string_view one, std::string_view many)
{
    return fmt::format("{} {}", Grouped(number), number == 1 ? one : many);
}

std::string SizeForPeople(long long bytes)
{
    if (bytes < 1000) return Counted(bytes, "byte", "bytes");
    double size = static_cast<double>(bytes);
    char const* unit = "";
    for (char const* const name : {"KB", "MB", "GB", "TB"}) {
        if (size < 999.95) break;
        size /= 1000;
        unit = name;
    }
    return fmt::format("{:.1f} {}", size, unit);
}
