#include "marl/HierarchicalException.h"

#include <cerrno>
#include <cstring>
#include <utility>

namespace {

// The signature as its four characters; a unit that no terminal shows comes out as "?".
std::string SignatureText(unsigned int signature)
{
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        auto const unit = static_cast<unsigned char>(signature >> shift);
        text += unit >= 0x20 && unit < 0x7F ? static_cast<char>(unit) : '?';
    }
    return text;
}

// strerror is not safe beside other threads, and what a platform knows of its number is only a hint
// here.
std::string ErrorText(int error)
{
    char buffer[256] = "";
#if defined(__GLIBC__)
    return strerror_r(error, buffer, sizeof buffer);
#else
    return strerror_r(error, buffer, sizeof buffer) == 0 ? buffer : "";
#endif
}

// A path may hold any byte but 0: what would break the line is written as \xHH, all else is UTF-8
// as it is.
std::string OneLine(std::string const& text)
{
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string line;
    line.reserve(text.size());
    for (char const byte : text) {
        auto const unit = static_cast<unsigned char>(byte);
        if (unit < 0x20 || unit == 0x7F) {
            line += {'\\', 'x', kDigits[unit >> 4], kDigits[unit & 0xF]};
        } else {
            line += byte;
        }
    }
    return line;
}

std::string Render(std::vector<HierarchicalException::Level> const& levels)
{
    // Whoever throws may still need errno, and strerror_r is allowed to set it.
    int const keptErrno = errno;
    std::string line;
    for (HierarchicalException::Level const& level : levels) {
        if (!line.empty()) line += "; ";
        line += SignatureText(level.signature);
        line += ": category " + std::to_string(level.category);
        line += " in operation " + std::to_string(level.context);
        if (level.osError != 0) line += ", error " + std::to_string(level.osError);
        if (level.osError > 0) line += " (" + ErrorText(level.osError) + ")";
        if (!level.text.empty()) line += ": " + OneLine(level.text);
    }
    errno = keptErrno;
    return line;
}

}  // namespace

HierarchicalException::HierarchicalException(
    unsigned int signature, int category, int context, int osError, std::string text)
{
    levels.push_back({signature, category, context, osError, std::move(text)});
    message = Render(levels);
}

HierarchicalException::HierarchicalException(
    unsigned int signature, int category, int context, int osError, std::string const* text)
    : HierarchicalException(signature, category, context, osError, text ? *text : std::string())
{
}

HierarchicalException::HierarchicalException(HierarchicalException const& other) = default;
HierarchicalException&
HierarchicalException::operator=(HierarchicalException const& other) = default;

HierarchicalException::~HierarchicalException()
{
    // The outermost record goes first, as scopes do.
    while (!levels.empty())
        levels.pop_back();
}

char const* HierarchicalException::what() const noexcept
{
    return message.c_str();
}

void HierarchicalException::AddLevel(Level level)
{
    levels.push_back(std::move(level));
    message = Render(levels);
}
